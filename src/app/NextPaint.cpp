// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/NextPaint.h"

#include <QEvent>
#include <QTimer>

NextPaint::NextPaint(QWidget& widget, std::function<void()> callBack)
    : QObject(&widget), _callBack(std::move(callBack)) {
    widget.installEventFilter(this);
}

bool NextPaint::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        QTimer::singleShot(0, this, [this] {
            _callBack();
            deleteLater();
        });
    }
    return false;
}
