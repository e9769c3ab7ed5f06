// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FirstFrame.h"

#include <QEvent>
#include <QTimer>

FirstFrame::FirstFrame(QWidget& window, std::function<void()> callBack)
    : QObject(&window), _callBack(std::move(callBack)) {
    window.installEventFilter(this);
}

bool FirstFrame::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        QTimer::singleShot(0, this, [this] {
            _callBack();
            deleteLater();
        });
    }
    return false;
}
