// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QWidget>

#include <functional>

/// Calls back once, from the event loop, after a widget has been painted the next time. A child of the
/// widget. Main thread only.
class NextPaint : public QObject {
    Q_OBJECT

 public:
    NextPaint(QWidget& widget, std::function<void()> callBack);

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    std::function<void()> _callBack;
};
