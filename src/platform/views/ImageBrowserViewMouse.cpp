// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Guard.h"
#include "platform/views/GridDragData.h"
#include "platform/views/ImageBrowserViewPrivate.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QMouseEvent>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace platform {

// --- clicks

void ImageBrowserView::mousePressEvent(QMouseEvent* event) {
    Private& d = *_d;
    d.narrowNow();
    d.search.stop();
    if (event->button() != Qt::LeftButton)
        return;
    d.endBand();
    d.pressedPoint = event->position().toPoint();
    d.pressedIndex = d.indexAtPoint(d.pressedPoint);
    if (d.pressedIndex)
        d.press(*d.pressedIndex, event->modifiers());
    else
        d.startBand(d.pressedPoint, event->modifiers());
}

void ImageBrowserView::Private::press(std::size_t index, Qt::KeyboardModifiers modifiers) {
    using Mode = GridSelection::Mode;
    const bool isSelected = selection.indexes().contains(index);
    const bool extends = modifiers.testFlag(Qt::ShiftModifier);
    const bool toggles = modifiers.testFlag(Qt::ControlModifier);
    onRelease = OnRelease::nothing;
    if (extends) {
        act(index, toggles ? Mode::addRange : Mode::range);
    } else if (!isSelected) {
        act(index, toggles ? Mode::toggle : Mode::replace);
    } else {
        // What is selected may be about to be dragged or opened: it stays so until the button is released.
        onRelease = toggles ? OnRelease::toggle : OnRelease::narrow;
        setCurrent(index);
    }
}

void ImageBrowserView::mouseReleaseEvent(QMouseEvent* event) {
    Private& d = *_d;
    if (event->button() != Qt::LeftButton)
        return;
    d.endBand();
    const std::optional<std::size_t> index = std::exchange(d.pressedIndex, std::nullopt);
    const Private::OnRelease onRelease = std::exchange(d.onRelease, Private::OnRelease::nothing);
    if (!index)
        return;
    if (onRelease == Private::OnRelease::toggle)
        d.act(*index, GridSelection::Mode::toggle);
    if (onRelease == Private::OnRelease::narrow) {
        d.narrowIndex = *index;
        d.narrowing.start(QApplication::doubleClickInterval());
    }
}

void ImageBrowserView::Private::narrowNow() {
    narrowing.stop();
    if (const std::optional<std::size_t> index = std::exchange(narrowIndex, std::nullopt))
        act(*index, GridSelection::Mode::replace);
}

void ImageBrowserView::Private::forgetNarrowing() {
    narrowing.stop();
    narrowIndex.reset();
}

void ImageBrowserView::mouseDoubleClickEvent(QMouseEvent* event) {
    Private& d = *_d;
    const std::optional<std::size_t> index = d.indexAtPoint(event->position().toPoint());
    if (event->button() != Qt::LeftButton || event->modifiers() != Qt::NoModifier || !index) {
        mousePressEvent(event);
        return;
    }
    d.forgetNarrowing();
    d.setCurrent(*index);
    d.open(*index);
}

void ImageBrowserView::mouseMoveEvent(QMouseEvent* event) {
    Private& d = *_d;
    const QPoint point = event->position().toPoint();
    if (event->buttons() == Qt::NoButton) {
        d.setHovered(d.indexAtPoint(point));
        return;
    }
    if (d.bandStart) {
        d.moveBand(point);
        return;
    }
    const bool isDrag = (point - d.pressedPoint).manhattanLength() >= QApplication::startDragDistance();
    if (event->buttons() == Qt::LeftButton && d.pressedIndex && isDrag) {
        // With Ctrl held a drag takes the pressed item along; only a click would have taken it out.
        d.onRelease = Private::OnRelease::nothing;
        d.pressedIndex.reset();
        startDrag(Qt::CopyAction | Qt::LinkAction);
    }
}

void ImageBrowserView::contextMenuEvent(QContextMenuEvent* event) {
    Private& d = *_d;
    d.narrowNow();
    QPoint position = event->globalPos();
    if (event->reason() == QContextMenuEvent::Keyboard) {
        QPoint point = viewport()->rect().center();
        if (d.selection.current()) {
            d.reveal(*d.selection.current());
            point = d.layout.thumbnailRect(d.cellRect(*d.selection.current())).center();
        }
        position = viewport()->mapToGlobal(point);
    } else if (const auto index = d.indexAtPoint(viewport()->mapFromGlobal(position))) {
        if (d.selection.indexes().contains(*index))
            d.setCurrent(*index);
        else
            d.act(*index, GridSelection::Mode::replace);
    } else {
        d.selectionChanged(d.selection.clear());
    }
    event->accept();
    Q_EMIT contextMenuAsked(position);
}

// --- the rubber band

QRect ImageBrowserView::Private::bandRect() const {
    const GridLayout::Point end = contentPoint(bandPoint);
    const qint64 top = std::min(bandStart->y, end.y) - offset();
    const qint64 bottom = std::max(bandStart->y, end.y) - offset();
    const qint64 height = layout.viewportSize().height();
    // What is beyond the viewport is cut off a little outside it.
    return {QPoint(std::min(bandStart->x, end.x), int(std::clamp<qint64>(top, -8, height + 8))),
            QPoint(std::max(bandStart->x, end.x), int(std::clamp<qint64>(bottom, -8, height + 8)))};
}

void ImageBrowserView::Private::startBand(QPoint point, Qt::KeyboardModifiers modifiers) {
    using BandMode = GridSelection::BandMode;
    bandStart = contentPoint(point);
    bandPoint = point;
    selectionChanged(selection.beginBand(modifiers.testFlag(Qt::ControlModifier) ? BandMode::toggle
                                         : modifiers.testFlag(Qt::ShiftModifier) ? BandMode::add
                                                                                 : BandMode::replace));
}

void ImageBrowserView::Private::moveBand(QPoint point) {
    const QRect before = bandRect();
    const QRect viewport = q.viewport()->rect();
    bandPoint = QPoint(std::clamp(point.x(), viewport.left(), viewport.right()), point.y());
    if (viewport.top() <= point.y() && point.y() <= viewport.bottom())
        bandScrolling.stop();
    else if (!bandScrolling.isActive())
        bandScrolling.start();
    selectionChanged(selection.setBand(layout.indexesInRect(*bandStart, contentPoint(bandPoint))));
    q.viewport()->update(before.united(bandRect()).adjusted(-1, -1, 1, 1));
}

void ImageBrowserView::Private::scrollBand() {
    if (!bandStart)
        return;
    // The farther outside, the faster: a third of the distance each frame.
    const int height = q.viewport()->height();
    const int beyond = bandPoint.y() < 0 ? bandPoint.y() : std::max(0, bandPoint.y() - height + 1);
    setOffset(offset() + beyond / 3 + (beyond > 0) - (beyond < 0));
    moveBand(bandPoint);
}

void ImageBrowserView::Private::endBand() {
    if (!bandStart)
        return;
    q.viewport()->update(bandRect().adjusted(-1, -1, 1, 1));
    bandScrolling.stop();
    bandStart.reset();
    const IndexSet& selected = selection.indexes();
    if (!selected.isEmpty() && (!selection.current() || !selected.contains(*selection.current()))) {
        setCurrent(selected.firstIndex());
        selection.setAnchor(selected.firstIndex());
    }
}

// --- drags

void ImageBrowserView::startDrag(Qt::DropActions supportedActions) {
    Private& d = *_d;
    constexpr std::size_t mostPictures = 3;
    QStringList paths;
    std::vector<QPixmap> pictures;
    const auto addPicture = [&](std::size_t index) {
        const QPixmap pixmap = d.pictures.picture(d.model.path(index)).pixmap;
        if (!pixmap.isNull() && pictures.size() < mostPictures)
            pictures.push_back(pixmap);
    };
    if (d.selection.current())
        addPicture(*d.selection.current());
    d.selection.indexes().forEach([&](std::size_t index) {
        paths += d.model.path(index);
        if (pictures.size() < mostPictures && index != d.selection.current())
            addPicture(index);
    });
    if (paths.isEmpty())
        return;
    const QPixmap pixmap =
        makeDragPixmap(pictures, std::size_t(paths.size()), palette(), devicePixelRatioF());
    auto* const drag = new QDrag(this);
    drag->setMimeData(new GridDragData(std::move(paths)));
    drag->setPixmap(pixmap);
    drag->setHotSpot(QPoint(int(pixmap.deviceIndependentSize().width()) / 2, 24));
    drag->exec(supportedActions & ~Qt::MoveAction, Qt::CopyAction);
}

void ImageBrowserView::Private::answerDrag(QDragMoveEvent& event, int answer) const {
    if (answer != Qt::CopyAction) {
        event.ignore();
        return;
    }
    event.setDropAction(Qt::CopyAction);
    event.accept();
}

void ImageBrowserView::dragEnterEvent(QDragEnterEvent* event) {
    DraggingDestination* const to = _d->draggingDestination;
    _d->answerDrag(*event, to ? guarded("draggingEntered", 0, [to] { return to->draggingEntered(); }) : 0);
}

void ImageBrowserView::dragMoveEvent(QDragMoveEvent* event) {
    DraggingDestination* const to = _d->draggingDestination;
    _d->answerDrag(*event, to ? guarded("draggingUpdated", 0, [to] { return to->draggingUpdated(); }) : 0);
}

void ImageBrowserView::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
}

void ImageBrowserView::dropEvent(QDropEvent* event) {
    DraggingDestination* const to = _d->draggingDestination;
    if (to && guarded("performDragOperation", false, [to] { return to->performDragOperation(); })) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return;
    }
    // A source that looks at the action rather than at the answer must not think that a copy was made.
    event->setDropAction(Qt::IgnoreAction);
    event->ignore();
}

}  // namespace platform
