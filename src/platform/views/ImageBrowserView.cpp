// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserView.h"

#include "platform/Guard.h"
#include "platform/imaging/PictureNames.h"
#include "platform/imaging/ThumbnailQueue.h"
#include "platform/PathBytes.h"
#include "platform/views/GridAccessibility.h"
#include "platform/views/ImageBrowserViewPrivate.h"
#include "platform/views/IndexSetAlgebra.h"

#include <QApplication>
#include <QScrollBar>

#include <utility>

namespace platform {

namespace {

/// A load shorter than this shows no sign of itself.
constexpr int dimmingDelayMilliseconds = 120;
/// A zoom has settled when it has stood still for so long.
constexpr int zoomSettlingMilliseconds = 100;
constexpr int glideMilliseconds = 160;
constexpr int bandScrollingMilliseconds = 16;

}  // namespace

ImageBrowserView::Private::Private(ImageBrowserView& view)
    : q(view), model(view), search([this](std::size_t index) {
          const ImageBrowserItem* const item = model.item(index);
          return item ? guarded("imageTitle", QString(), [item] { return item->imageTitle(); }) : QString();
      }) {
    dimming.setSingleShot(true);
    dimming.setInterval(dimmingDelayMilliseconds);
    wishing.setSingleShot(true);
    wishing.setInterval(0);
    zoomSettling.setSingleShot(true);
    zoomSettling.setInterval(zoomSettlingMilliseconds);
    narrowing.setSingleShot(true);
    bandScrolling.setInterval(bandScrollingMilliseconds);
    glide.setDuration(glideMilliseconds);
    glide.setEasingCurve(QEasingCurve::OutCubic);
}

ImageBrowserView::ImageBrowserView(QWidget* parent)
    : QAbstractItemView(parent), _d(std::make_unique<Private>(*this)) {
    GridAccessible::install();
    setModel(&_d->model);
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    viewport()->setMouseTracking(true);
    viewport()->grabGesture(Qt::PinchGesture);

    Private& d = *_d;
    connect(&d.dimming, &QTimer::timeout, this, [this] {
        _d->isDimmed = true;
        viewport()->update();
    });
    connect(&d.wishing, &QTimer::timeout, this, [this] { _d->sendWishes(); });
    connect(&d.zoomSettling, &QTimer::timeout, this, [this] { _d->askForThumbnails(); });
    connect(&d.glide, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        _d->shownZoom = value.toDouble();
        _d->relayout();
    });
    // It may outlast the settling, and its last steps change nothing.
    connect(&d.glide, &QVariantAnimation::finished, this, [this] { _d->askForThumbnails(); });
    connect(&d.narrowing, &QTimer::timeout, this, [this] { _d->narrowNow(); });
    connect(&d.bandScrolling, &QTimer::timeout, this, [this] { _d->scrollBand(); });
    connect(&d.fades, &GridFades::stepped, this,
            [this](const QString& path) { _d->updateCellsOfPath(path); });
    connect(&d.search, &GridTitleSearch::found, this, [this](std::size_t index) {
        _d->act(index, GridSelection::Mode::replace);
        _d->reveal(index);
    });
}

ImageBrowserView::~ImageBrowserView() {
    setModel(nullptr);
}

void ImageBrowserView::setDataSource(ImageBrowserViewDataSource* dataSource) {
    _d->bookmark.reset();
    _d->selection.reset(0);
    _d->model.setDataSource(dataSource);
    _d->relayout();
}

void ImageBrowserView::setBrowserDelegate(ImageBrowserViewDelegate* delegate) {
    _d->delegate = delegate;
}

void ImageBrowserView::setDraggingDestinationDelegate(DraggingDestination* destination) {
    _d->draggingDestination = destination;
}

void ImageBrowserView::setThumbnailQueue(ThumbnailQueue* queue) {
    if (_d->queue)
        disconnect(_d->queue, nullptr, this, nullptr);
    _d->queue = queue;
    _d->pictures.setQueue(queue);
    _d->wishedRange.reset();
    if (queue)
        connect(queue, &ThumbnailQueue::thumbnailChanged, this,
                [this](const QString& path) { _d->thumbnailChanged(path); });
    _d->askForThumbnails();
    viewport()->update();
}

void ImageBrowserView::prepareForReload() {
    _d->narrowNow();
    _d->endBand();
    _d->search.stop();
    _d->bookmark = GridBookmark::note(
        _d->selection, _d->visibleRange(), [this](std::size_t index) { return _d->cellRect(index).top(); },
        _d->itemAt());
}

void ImageBrowserView::reloadData() {
    Private& d = *_d;
    d.forgetNarrowing();
    d.onRelease = Private::OnRelease::nothing;
    d.pressedIndex.reset();
    d.hovered.reset();
    d.search.stop();
    d.anchor.reset();
    d.endBand();
    const GridLayout layoutBefore = d.layout;
    const qint64 offsetBefore = d.offset();

    d.model.reload();
    GridBookmark::Found found;
    if (d.bookmark)
        found = d.bookmark->find(d.model.count(), d.itemAt());
    d.selection.reset(d.model.count());
    d.selection.setIndexes(found.selected);
    d.selection.setCurrent(found.current);
    d.selection.setAnchor(found.anchor);

    d.isLayingOut = true;
    d.configureLayout();
    d.isLayingOut = false;
    if (found.top)
        d.setOffset(d.layout.rowTop(d.layout.rowOf(*found.top)) - found.topY);
    else
        d.setOffset(d.bookmark ? 0 : offsetBefore);
    d.repaintAfterReload(layoutBefore, offsetBefore);
    d.bookmark.reset();
    d.mustCheckFiles = true;
    d.askForThumbnails();
    d.currentMayHaveChanged(found.current);
    if (d.selection.indexes().count() != d.toldSelectionCount)
        d.tellSelection(d.selection.indexes());
}

void ImageBrowserView::Private::repaintAfterReload(const GridLayout& before, qint64 offsetBefore) {
    GridLayout sameButForCount = before;
    sameButForCount.setCount(layout.count());
    if (!bookmark || sameButForCount != layout || offsetBefore != offset()) {
        q.viewport()->update();
        return;
    }
    const IndexSet selectedBefore = bookmark->selectedBefore();
    const qint64 bottom = offset() + layout.viewportSize().height();
    GridLayout longer = layout;
    longer.setCount(std::max(before.count(), layout.count()));
    const std::optional<IndexSet::Range> cells = longer.indexesBetween(offset(), bottom);
    for (std::size_t index = cells ? cells->first : 1; cells && index <= cells->last; ++index) {
        const bool isSame = bookmark->showedAt(index, model.item(index)) &&
                            bookmark->currentBefore() != index && selection.current() != index &&
                            selectedBefore.contains(index) == selection.indexes().contains(index);
        if (!isSame)
            updateCell(index);
    }
    if ((before.count() == 0) != (layout.count() == 0))
        q.viewport()->update();
}

void ImageBrowserView::setLoading(bool loading) {
    if (loading) {
        if (!_d->isDimmed)
            _d->dimming.start();
        return;
    }
    _d->dimming.stop();
    if (std::exchange(_d->isDimmed, false))
        viewport()->update();
}

IndexSet ImageBrowserView::selectionIndexes() const {
    return _d->selection.indexes();
}

void ImageBrowserView::setSelectionIndexes(const IndexSet& indexes, bool byExtendingSelection) {
    _d->forgetNarrowing();
    const std::optional<std::size_t> before = _d->selection.current();
    const IndexSet changed =
        _d->selection.setIndexes(byExtendingSelection ? unionOf(_d->selection.indexes(), indexes) : indexes);
    if (!indexes.isEmpty() && indexes.firstIndex() < _d->model.count() &&
        (!before || !_d->selection.indexes().contains(*before))) {
        _d->selection.setCurrent(indexes.firstIndex());
        _d->selection.setAnchor(indexes.firstIndex());
    }
    _d->selectionChanged(changed);
    _d->currentMayHaveChanged(before);
}

void ImageBrowserView::setAnimates(bool animates) {
    _d->animates = animates;
}

bool ImageBrowserView::animates() const {
    return _d->animates;
}

void ImageBrowserView::setAllowsReordering(bool /*allows*/) {
    // Items are never moved by hand in a sorted list.
}

void ImageBrowserView::setCellsStyleMask(unsigned mask) {
    _d->cellsStyle = mask;
    _d->relayout();
    viewport()->update();
}

void ImageBrowserView::setNeedsDisplay(bool needs) {
    if (needs)
        viewport()->update();
}

void ImageBrowserView::setIconProvider(std::function<QIcon(const QString&)> provider) {
    _d->pictures.setIconProvider(std::move(provider));
    viewport()->update();
}

void ImageBrowserView::replaceIcon(const QString& path, const QIcon& icon) {
    if (_d->pictures.replaceIcon(path, icon))
        viewport()->update();
}

bool ImageBrowserView::isPicture(const QString& path) const {
    const Thumbnail::State state = _d->queue ? _d->queue->thumbnail(path).state : Thumbnail::State::unknown;
    if (state == Thumbnail::State::preview || state == Thumbnail::State::complete)
        return true;
    return state != Thumbnail::State::notImage && kindByName(lastPathComponent(path)) != NamedKind::other;
}

void ImageBrowserView::setEmptyText(const QString& text) {
    _d->emptyText = text;
    if (_d->model.count() == 0)
        viewport()->update();
}

void ImageBrowserView::setPositionText(const QString& text) {
    _d->positionText = text;
}

void ImageBrowserView::openCurrentItem() {
    _d->narrowNow();
    std::optional<std::size_t> index = _d->selection.current();
    const IndexSet& selected = _d->selection.indexes();
    if (!selected.isEmpty() && (!index || !selected.contains(*index)))
        index = selected.firstIndex();
    if (index)
        _d->open(*index);
}

void ImageBrowserView::removeSelectedItems() {
    _d->narrowNow();
    const IndexSet indexes = _d->selection.indexes();
    if (!indexes.isEmpty() && _d->delegate)
        guarded("imageBrowserRemoveItemsAtIndexes",
                [&] { _d->delegate->imageBrowserRemoveItemsAtIndexes(*this, indexes); });
}

void ImageBrowserView::selectAll() {
    _d->narrowNow();
    _d->selectionChanged(_d->selection.selectAll());
}

GridBookmark::ItemAt ImageBrowserView::Private::itemAt() const {
    return [this](std::size_t index) {
        return model.item(index);
    };
}

void ImageBrowserView::Private::act(std::size_t index, GridSelection::Mode mode) {
    const std::optional<std::size_t> before = selection.current();
    selectionChanged(selection.select(index, mode));
    currentMayHaveChanged(before);
}

void ImageBrowserView::Private::selectionChanged(const IndexSet& changed) {
    if (changed.isEmpty() && selection.indexes().count() == toldSelectionCount)
        return;
    tellSelection(changed);
    Q_EMIT q.selectedAnew();
}

void ImageBrowserView::Private::tellSelection(const IndexSet& changed) {
    const std::size_t count = selection.indexes().count();
    updateCells(changed);
    if (std::exchange(toldSelectionCount, count) != count)
        Q_EMIT q.selectionCountChanged(count);
    if (QAccessible::isActive()) {
        QAccessibleEvent event(&q, QAccessible::SelectionWithin);
        QAccessible::updateAccessibility(&event);
    }
    if (delegate)
        guarded("imageBrowserSelectionDidChange", [this] { delegate->imageBrowserSelectionDidChange(q); });
}

void ImageBrowserView::Private::setCurrent(std::optional<std::size_t> index) {
    const std::optional<std::size_t> before = selection.current();
    selection.setCurrent(index);
    currentMayHaveChanged(before);
}

void ImageBrowserView::Private::currentMayHaveChanged(std::optional<std::size_t> before) {
    const std::optional<std::size_t> now = selection.current();
    if (before != now) {
        if (before)
            updateCell(*before);
        if (now)
            updateCell(*now);
    }
    if (before != now && now && QAccessible::isActive()) {
        QAccessibleEvent event(&q, QAccessible::Focus);
        event.setChild(GridAccessible::childIndexOf(q, *now));
        QAccessible::updateAccessibility(&event);
    }
    const QModelIndex index = now ? model.index(int(*now)) : QModelIndex();
    if (q.currentIndex() != index)
        q.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
}

void ImageBrowserView::Private::open(std::size_t index) {
    forgetNarrowing();
    onRelease = OnRelease::nothing;
    if (!selection.indexes().contains(index))
        act(index, GridSelection::Mode::replace);
    if (delegate)
        guarded("imageBrowserCellWasDoubleClickedAtIndex",
                [&] { delegate->imageBrowserCellWasDoubleClickedAtIndex(q, index); });
}

void ImageBrowserView::reset() {
    setState(NoState);
    if (selectionModel())
        selectionModel()->reset();
}

void ImageBrowserView::currentChanged(const QModelIndex& current, const QModelIndex& /*previous*/) {
    const auto index = current.isValid() ? std::optional(std::size_t(current.row())) : std::nullopt;
    if (_d->selection.current() != index && (index || _d->model.count() > 0))
        _d->setCurrent(index);
}

QModelIndexList ImageBrowserView::selectedIndexes() const {
    QModelIndexList list;
    _d->selection.indexes().forEach([&](std::size_t index) { list += _d->model.index(int(index)); });
    return list;
}

}  // namespace platform
