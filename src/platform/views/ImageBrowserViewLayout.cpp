// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserViewPrivate.h"

#include "platform/views/IndexSetAlgebra.h"

#include <QEvent>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace platform {

// --- zoom

void ImageBrowserView::setZoomValue(float zoom) {
    _d->zoomTo(double(zoom), std::nullopt);
}

float ImageBrowserView::zoomValue() const {
    return float(_d->zoom);
}

void ImageBrowserView::Private::zoomTo(double wanted, std::optional<QPoint> around) {
    if (!std::isfinite(wanted))
        return;
    zoom = std::clamp(wanted, 0.0, 1.0);
    const bool isElsewhere = around != anchorPoint;
    if (!anchor || isElsewhere) {
        anchor = around ? std::optional(anchorAt(*around)) : anchorAtTop();
        anchorPoint = around;
    }
    glide.stop();
    if (zoom == shownZoom)
        return;
    if (q.isVisible())
        zoomSettling.start();
    if (animates && q.isVisible()) {
        glide.setStartValue(shownZoom);
        glide.setEndValue(zoom);
        glide.start();
        return;
    }
    shownZoom = zoom;
    relayout();
}

void ImageBrowserView::Private::zoomByUser(double step, std::optional<QPoint> around) {
    const auto before = float(zoom);
    zoomTo(zoom + step, around);
    if (float(zoom) != before)
        Q_EMIT q.zoomValueChanged(float(zoom));
}

bool ImageBrowserView::Private::isZooming() const {
    return glide.state() == QAbstractAnimation::Running || zoomSettling.isActive();
}

// --- place

void ImageBrowserView::Private::configureLayout() {
    const int side = GridLayout::thumbnailSideForZoom(shownZoom);
    const bool isTitled = (cellsStyle & cellsStyleTitled) != 0;
    const int lineCount = GridTitles::lineCountForSide(side);
    layout.setCount(model.count());
    layout.setThumbnailSide(side);
    layout.setDirection(q.layoutDirection());
    layout.setTitleHeight(isTitled ? lineCount * QFontMetrics(q.font()).lineSpacing() : 0);
    // Whether a scroll bar is needed is judged by the width without one: judged by the width that is left,
    // it could come and go for ever.
    layout.setViewportSize(q.maximumViewportSize());
    const bool needsBar = layout.greatestOffset() > 0;
    q.setVerticalScrollBarPolicy(needsBar ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    layout.setViewportSize(q.viewport()->size());
    titles.setFormat(q.font(), layout.cellSize().width() - 16, lineCount);

    QScrollBar& bar = *q.verticalScrollBar();
    const int height = layout.viewportSize().height();
    bar.setRange(0, layout.scrollMaximum());
    bar.setPageStep(std::max(height - layout.rowPitch() / 2, height / 2));
    bar.setSingleStep(std::clamp(layout.rowPitch() / 3, 15, 60));
    shownOffset = layout.offsetForScroll(bar.value());
}

void ImageBrowserView::Private::relayout() {
    if (isLayingOut)
        return;
    const QScopedValueRollback guard(isLayingOut, true);
    if (!anchor)
        anchor = anchorAtTop();
    const GridLayout before = layout;
    const qint64 offsetBefore = shownOffset;
    configureLayout();
    placeByAnchor();
    if (layout == before && shownOffset == offsetBefore)
        return;
    hovered.reset();
    q.viewport()->update();
    askForThumbnails();
}

ImageBrowserView::Private::Anchor ImageBrowserView::Private::anchorAt(QPoint point) const {
    const qint64 y = point.y() + offset() - GridLayout::margin;
    const qint64 lastRow = std::max<qint64>(0, qint64(layout.rows()) - 1);
    const qint64 row = std::clamp<qint64>(y / layout.rowPitch(), 0, lastRow);
    const std::size_t first = std::size_t(row) * layout.columns();
    Anchor result{first, double(y - row * layout.rowPitch()) / layout.rowPitch(), double(point.y())};
    int nearest = std::numeric_limits<int>::max();
    for (std::size_t index = first; index < std::min(first + layout.columns(), layout.count()); ++index) {
        const int distance = std::abs(cellRect(index).center().x() - point.x());
        if (distance < nearest) {
            nearest = distance;
            result.index = index;
        }
    }
    return result;
}

std::optional<ImageBrowserView::Private::Anchor> ImageBrowserView::Private::anchorAtTop() const {
    // The very top stays the very top.
    const std::optional<IndexSet::Range> visible = visibleRange();
    if (offset() == 0 || !visible)
        return std::nullopt;
    const qint64 top = layout.rowTop(layout.rowOf(visible->first)) - offset();
    if (top >= 0)
        return Anchor{visible->first, 0, double(top)};
    return Anchor{visible->first, double(-top) / layout.rowPitch(), 0};
}

void ImageBrowserView::Private::placeByAnchor() {
    if (!anchor)
        return;
    const double y =
        double(layout.rowTop(layout.rowOf(anchor->index))) + anchor->fraction * layout.rowPitch();
    setOffset(std::llround(y - anchor->y));
}

void ImageBrowserView::Private::setOffset(qint64 wanted) {
    q.verticalScrollBar()->setValue(layout.scrollForOffset(wanted));
}

std::optional<IndexSet::Range> ImageBrowserView::Private::visibleRange() const {
    return layout.indexesBetween(offset(), offset() + layout.viewportSize().height());
}

void ImageBrowserView::scrollContentsBy(int /*dx*/, int /*dy*/) {
    Private& d = *_d;
    const qint64 before =
        std::exchange(d.shownOffset, d.layout.offsetForScroll(verticalScrollBar()->value()));
    if (d.isLayingOut || before == d.shownOffset)
        return;
    d.anchor.reset();
    const qint64 height = viewport()->height();
    const qint64 distance = before - d.shownOffset;
    if (d.bandStart || std::abs(distance) >= height)
        viewport()->update();
    else
        viewport()->scroll(0, int(distance));
    d.setHovered(std::nullopt);
    d.askForThumbnails();
}

void ImageBrowserView::updateGeometries() {
    _d->relayout();
}

void ImageBrowserView::doItemsLayout() {
    _d->relayout();
}

void ImageBrowserView::showEvent(QShowEvent* event) {
    QAbstractItemView::showEvent(event);
    _d->relayout();
    _d->askForThumbnails();
}

void ImageBrowserView::changeEvent(QEvent* event) {
    QAbstractItemView::changeEvent(event);
    switch (event->type()) {
        case QEvent::FontChange:
        case QEvent::StyleChange:
        case QEvent::LayoutDirectionChange:
            _d->relayout();
            break;
        default:
            break;
    }
    viewport()->update();
}

// --- what the toolkit asks of an item view

QRect ImageBrowserView::visualRect(const QModelIndex& index) const {
    return index.isValid() ? _d->cellRect(std::size_t(index.row())) : QRect();
}

void ImageBrowserView::scrollTo(const QModelIndex& index, ScrollHint hint) {
    if (!index.isValid())
        return;
    const auto at = std::size_t(index.row());
    const GridLayout& layout = _d->layout;
    const qint64 top = layout.rowTop(layout.rowOf(at)) - GridLayout::spacing / 2;
    const int slack = layout.viewportSize().height() - layout.cellSize().height() - GridLayout::spacing;
    switch (hint) {
        case EnsureVisible:
            _d->reveal(at);
            break;
        case PositionAtTop:
            _d->setOffset(top);
            break;
        case PositionAtBottom:
            _d->setOffset(top - slack);
            break;
        case PositionAtCenter:
            _d->setOffset(top - slack / 2);
            break;
    }
}

QModelIndex ImageBrowserView::indexAt(const QPoint& point) const {
    const std::optional<std::size_t> index = _d->indexAtPoint(point);
    return index ? _d->model.index(int(*index)) : QModelIndex();
}

QModelIndex ImageBrowserView::moveCursor(CursorAction action, Qt::KeyboardModifiers /*modifiers*/) {
    if (_d->model.count() == 0)
        return {};
    if (!_d->selection.current())
        return _d->model.index(0);
    GridStep step = GridStep::last;
    switch (action) {
        case MoveLeft:
            step = GridStep::left;
            break;
        case MoveRight:
            step = GridStep::right;
            break;
        case MoveUp:
            step = GridStep::up;
            break;
        case MoveDown:
            step = GridStep::down;
            break;
        case MovePageUp:
            step = GridStep::pageUp;
            break;
        case MovePageDown:
            step = GridStep::pageDown;
            break;
        case MoveHome:
            step = GridStep::first;
            break;
        case MoveEnd:
            step = GridStep::last;
            break;
        case MoveNext:
            step = layoutDirection() == Qt::RightToLeft ? GridStep::left : GridStep::right;
            break;
        case MovePrevious:
            step = layoutDirection() == Qt::RightToLeft ? GridStep::right : GridStep::left;
            break;
    }
    return _d->model.index(int(_d->layout.indexAfterStep(*_d->selection.current(), step)));
}

int ImageBrowserView::horizontalOffset() const {
    return 0;
}

int ImageBrowserView::verticalOffset() const {
    return verticalScrollBar()->value();
}

bool ImageBrowserView::isIndexHidden(const QModelIndex& /*index*/) const {
    return false;
}

void ImageBrowserView::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) {
    const IndexSet inRect =
        _d->layout.indexesInRect(_d->contentPoint(rect.topLeft()), _d->contentPoint(rect.bottomRight()));
    IndexSet selected = command.testFlag(QItemSelectionModel::Clear) ? IndexSet() : _d->selection.indexes();
    if (command.testFlag(QItemSelectionModel::Select))
        selected = unionOf(selected, inRect);
    if (command.testFlag(QItemSelectionModel::Deselect))
        selected = differenceOf(selected, inRect);
    if (command.testFlag(QItemSelectionModel::Toggle))
        selected = symmetricDifferenceOf(selected, inRect);
    _d->selectionChanged(_d->selection.setIndexes(std::move(selected)));
}

QRegion ImageBrowserView::visualRegionForSelection(const QItemSelection& /*selection*/) const {
    QRegion region;
    if (const std::optional<IndexSet::Range> visible = _d->visibleRange())
        for (std::size_t index = visible->first; index <= visible->last; ++index)
            if (_d->selection.indexes().contains(index))
                region += _d->cellRect(index);
    return region;
}

}  // namespace platform
