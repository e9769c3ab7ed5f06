// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QScrollArea;

namespace platform {

/// A small window beside the main one, to be filled from an interface description. Escape closes it. Main
/// thread only.
class PanelWindow : public QWidget {
    Q_OBJECT

 public:
    PanelWindow();

    /// Gives the window the size at which the area, which stands in its layout, shows its content whole; no
    /// more than nine tenths of the screen, where the area then scrolls. For a window that is not shown yet.
    void fitToContentOf(const QScrollArea& area);

    /// Shows the window in front of the others, over the middle of the one that was there, with the keyboard.
    void makeKeyAndOrderFront();

 Q_SIGNALS:
    /// The window is about to close. What is called passes the guard.
    void aboutToClose();

 protected:
    void closeEvent(QCloseEvent* event) override;
};

}  // namespace platform
