// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ImageWindowOpener.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QTimer>
#include <QWidget>

ImageWindowOpener::ImageWindowOpener(QObject* parent) : QObject(parent), _turn(new QTimer(this)) {
    connect(_turn, &QTimer::timeout, this, &ImageWindowOpener::openNext);
}

void ImageWindowOpener::open(const QString& nibName, QObject& sender, const QString& path) {
    _waiting.push_back({nibName, &sender, path});
    if (_turn->isActive())
        return;
    _turn->start();
    QCoreApplication::instance()->installEventFilter(this);
}

void ImageWindowOpener::openNext() {
    const platform::WindowRequest request = _waiting.front();
    _waiting.pop_front();
    stopIfDone();
    openNow(request);
}

bool ImageWindowOpener::openNow(const platform::WindowRequest& request) {
    auto made = platform::InterfaceDescriptions::shared().open(request);
    if (made == nullptr)
        return false;
    platform::WindowController* controller = made.release();
    controller->setParent(this);
    connect(controller, &platform::WindowController::windowWillClose, controller, &QObject::deleteLater);
    if (QWidget* window = controller->window())
        Q_EMIT opened(*window);
    return true;
}

void ImageWindowOpener::openInPlaceOf(QWidget& window, const platform::WindowRequest& request) {
    platform::WindowRequest placed = request;
    placed.inPlaceOf = &window;
    if (openNow(placed))
        window.close();
}

void ImageWindowOpener::stopIfDone() {
    if (!_waiting.empty())
        return;
    _turn->stop();
    QCoreApplication::instance()->removeEventFilter(this);
}

/// Escape arrives as a shortcut first, and would close the window in front.
bool ImageWindowOpener::eventFilter(QObject* watched, QEvent* event) {
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    if (!isKey || static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape)
        return QObject::eventFilter(watched, event);
    _waiting.clear();
    stopIfDone();
    event->accept();
    return true;
}
