// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QWidget>

#include <functional>

/// Calls back once, from the event loop, after a window has been painted for the first time. A child of the
/// window. Main thread only.
class FirstFrame : public QObject {
    Q_OBJECT

 public:
    FirstFrame(QWidget& window, std::function<void()> callBack);

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    std::function<void()> _callBack;
};
