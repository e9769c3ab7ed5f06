// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QWidget>

namespace platform {

/// Whether a widget is a window in its own right: no pop-up, tool tip, menu, or sheet (a dialog that is modal
/// or belongs to a window).
bool isWindowOfItsOwn(const QWidget& widget);

/// Keeps the program's visible windows from front to back, by the order in which they were shown and came to
/// the front. Watches every window of the application object it is made with. Main thread only.
class WindowOrder : public QObject {
    Q_OBJECT

 public:
    explicit WindowOrder(QObject& application);

    /// The one in front first.
    const QList<QWidget*>& windows() const { return _windows; }

 Q_SIGNALS:
    /// A window is about to be laid out for the first time.
    void windowPolished(QWidget& window);
    /// A window opened, closed or came to the front.
    void changed();

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    void bringToFront(QWidget& window);
    void remove(QObject* window);

    QList<QWidget*> _windows;
};

}  // namespace platform
