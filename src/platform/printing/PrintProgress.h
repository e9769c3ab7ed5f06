// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QProgressDialog>
#include <QString>

class QWidget;

namespace platform {

/// The panel that stands over a window while it is printed, for as long as this lives. No other window of the
/// program takes input meanwhile. Main thread only.
class PrintProgress {
 public:
    /// Returns when the panel is on the screen.
    PrintProgress(QWidget& window, const QString& text);
    ~PrintProgress();
    PrintProgress(const PrintProgress&) = delete;
    PrintProgress& operator=(const PrintProgress&) = delete;

    /// Lets happen what waits; false once the user has cancelled, or the window has gone with its panel.
    bool goesOn();

 private:
    const QPointer<QProgressDialog> _dialog;
};

}  // namespace platform
