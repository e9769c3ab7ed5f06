// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/WindowOrder.h"

#include <QEvent>

namespace platform {

bool isWindowOfItsOwn(const QWidget& widget) {
    if (!widget.isWindow())
        return false;
    const Qt::WindowType type = widget.windowType();
    return type == Qt::Window ||
           (type == Qt::Dialog && widget.parentWidget() == nullptr && !widget.isModal());
}

WindowOrder::WindowOrder(QObject& application) {
    application.installEventFilter(this);
}

bool WindowOrder::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type != QEvent::WindowActivate && type != QEvent::Show && type != QEvent::Hide &&
        type != QEvent::Polish)
        return false;
    auto* widget = qobject_cast<QWidget*>(watched);
    const bool isMinimizing = event->spontaneous() && type != QEvent::WindowActivate;
    if (widget == nullptr || !isWindowOfItsOwn(*widget) || isMinimizing)
        return false;
    if (type == QEvent::Polish)
        Q_EMIT windowPolished(*widget);
    else if (type == QEvent::Hide)
        remove(widget);
    else if (widget->isVisible())
        bringToFront(*widget);
    return false;
}

void WindowOrder::bringToFront(QWidget& window) {
    if (!_windows.isEmpty() && _windows.constFirst() == &window)
        return;
    if (_windows.removeAll(&window) == 0)
        connect(&window, &QObject::destroyed, this, &WindowOrder::remove);
    _windows.prepend(&window);
    Q_EMIT changed();
}

void WindowOrder::remove(QObject* window) {
    disconnect(window, &QObject::destroyed, this, &WindowOrder::remove);
    if (_windows.removeIf([window](QWidget* shown) { return shown == window; }) > 0)
        Q_EMIT changed();
}

}  // namespace platform
