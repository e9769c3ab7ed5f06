// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserViewPrivate.h"
#include "platform/views/ToolTipText.h"

#include <QGestureEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QNativeGestureEvent>
#include <QPinchGesture>
#include <QToolTip>
#include <QWheelEvent>

#include <cmath>
#include <utility>

namespace platform {

namespace {

constexpr double keyZoomStep = 0.1;
constexpr double wheelZoomStep = 0.06;  // a notch
constexpr double wheelNotch = 120;      // in angleDelta's eighths of a degree

/// The step of zoom that makes everything `factor` times as large.
double zoomStepForFactor(double factor) {
    constexpr double range = double(GridLayout::largestThumbnail) / GridLayout::smallestThumbnail;
    return factor > 0 ? std::log(factor) / std::log(range) : 0;
}

std::optional<GridStep> stepForKey(int key) {
    constexpr std::pair<Qt::Key, GridStep> steps[] = {
        {Qt::Key_Left, GridStep::left},     {Qt::Key_Right, GridStep::right},
        {Qt::Key_Up, GridStep::up},         {Qt::Key_Down, GridStep::down},
        {Qt::Key_PageUp, GridStep::pageUp}, {Qt::Key_PageDown, GridStep::pageDown},
        {Qt::Key_Home, GridStep::first},    {Qt::Key_End, GridStep::last}};
    for (const auto& [stepKey, step] : steps)
        if (stepKey == key)
            return step;
    return std::nullopt;
}

/// Whether a key's text is letters to be looked for.
bool isSearchable(const QKeyEvent& event) {
    constexpr Qt::KeyboardModifiers commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    return !event.text().isEmpty() && event.text().front().isPrint() && !(event.modifiers() & commands);
}

}  // namespace

// --- keys

void ImageBrowserView::keyPressEvent(QKeyEvent* event) {
    Private& d = *_d;
    d.narrowNow();
    const bool isLetter =
        isSearchable(*event) && (d.search.isTyping() || event->text() != QStringLiteral(" "));
    const double zoomStep = d.search.isTyping() ? 0 : Private::zoomStepForKey(*event);
    if (event->modifiers().testFlag(Qt::AltModifier)) {
        event->ignore();
        return;
    }
    event->accept();
    if (const std::optional<GridStep> step = stepForKey(event->key())) {
        d.search.stop();
        d.moveByKey(*step, event->modifiers());
    } else if (event->matches(QKeySequence::SelectAll)) {
        selectAll();
    } else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        openCurrentItem();
    } else if (event->key() == Qt::Key_Escape && d.bandStart) {
        const IndexSet changed = d.selection.cancelBand();
        d.endBand();
        d.selectionChanged(changed);
    } else if (zoomStep != 0) {
        d.zoomByUser(zoomStep, std::nullopt);
    } else if (isLetter) {
        keyboardSearch(event->text());
    } else if (event->key() == Qt::Key_Space && d.selection.current()) {
        d.act(*d.selection.current(), event->modifiers().testFlag(Qt::ControlModifier)
                                          ? GridSelection::Mode::toggle
                                          : GridSelection::Mode::replace);
    } else {
        event->ignore();
    }
}

double ImageBrowserView::Private::zoomStepForKey(const QKeyEvent& event) {
    if (event.key() == Qt::Key_Plus || event.matches(QKeySequence::ZoomIn))
        return keyZoomStep;
    if (event.key() == Qt::Key_Minus || event.matches(QKeySequence::ZoomOut))
        return -keyZoomStep;
    return 0;
}

void ImageBrowserView::Private::moveByKey(GridStep step, Qt::KeyboardModifiers modifiers) {
    using Mode = GridSelection::Mode;
    if (model.count() == 0)
        return;
    const std::optional<std::size_t> from = selection.current();
    const bool isJump = step == GridStep::first || step == GridStep::last;
    const std::size_t start = from.value_or(0);
    const std::size_t index = from || isJump ? layout.indexAfterStep(start, step) : start;
    const bool extends = modifiers.testFlag(Qt::ShiftModifier);
    const bool keeps = modifiers.testFlag(Qt::ControlModifier);
    if (extends && !selection.anchor())
        selection.setAnchor(start);
    act(index, extends ? (keeps ? Mode::addRange : Mode::range) : keeps ? Mode::moveCurrent : Mode::replace);
    reveal(index);
}

void ImageBrowserView::keyboardSearch(const QString& letters) {
    const std::size_t count = _d->model.count();
    // With nothing current the first step onwards leads to the first item.
    const std::size_t before = count > 0 ? count - 1 : 0;
    _d->search.type(letters, _d->selection.current().value_or(before), count);
}

void ImageBrowserView::focusInEvent(QFocusEvent* /*event*/) {
    viewport()->update();
}

void ImageBrowserView::focusOutEvent(QFocusEvent* /*event*/) {
    _d->narrowNow();
    viewport()->update();
}

// --- wheel and gestures

void ImageBrowserView::wheelEvent(QWheelEvent* event) {
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        QAbstractItemView::wheelEvent(event);
        return;
    }
    const double notches = event->angleDelta().y() / wheelNotch;
    _d->zoomByUser(notches * wheelZoomStep, event->position().toPoint());
    event->accept();
}

bool ImageBrowserView::viewportEvent(QEvent* event) {
    Private& d = *_d;
    switch (event->type()) {
        case QEvent::Leave:
            d.setHovered(std::nullopt);
            break;
        case QEvent::ToolTip: {
            const auto* const help = static_cast<QHelpEvent*>(event);
            const auto index = d.indexAtPoint(help->pos());
            QToolTip::showText(help->globalPos(), index ? toolTipText(d.toolTip(*index)) : QString(),
                               viewport(), index ? d.cellRect(*index) : QRect());
            return true;
        }
        case QEvent::NativeGesture: {
            const auto* const gesture = static_cast<QNativeGestureEvent*>(event);
            if (gesture->gestureType() != Qt::ZoomNativeGesture)
                break;
            d.zoomByUser(zoomStepForFactor(1 + gesture->value()), gesture->position().toPoint());
            return true;
        }
        case QEvent::Gesture: {
            auto* const gestures = static_cast<QGestureEvent*>(event);
            auto* const pinch = static_cast<QPinchGesture*>(gestures->gesture(Qt::PinchGesture));
            if (!pinch)
                break;
            const QPoint center = viewport()->mapFromGlobal(pinch->hotSpot().toPoint());
            d.zoomByUser(zoomStepForFactor(pinch->scaleFactor()), center);
            gestures->accept(pinch);
            return true;
        }
        default:
            break;
    }
    return QAbstractItemView::viewportEvent(event);
}

}  // namespace platform
