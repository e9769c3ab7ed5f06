// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/WindowController.h"

#include <QObject>
#include <QString>

#include <deque>

class QTimer;

/// Opens image windows, one per turn of the event loop, so that the program stays usable while many are asked
/// for; Escape drops those that wait. Each window belongs to itself alone, lives until it is closed, and ends
/// with the opener at the latest. Main thread only.
class ImageWindowOpener : public QObject {
    Q_OBJECT

 public:
    explicit ImageWindowOpener(QObject* parent = nullptr);

    void open(const QString& nibName, QObject& sender, const QString& path);
    /// Opens an image window at once, where another one is, and closes that.
    void openInPlaceOf(QWidget& window, const platform::WindowRequest& request);

 Q_SIGNALS:
    /// A window has been opened.
    void opened(QWidget& window);

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    void openNext();
    bool openNow(const platform::WindowRequest& request);
    void stopIfDone();

    std::deque<platform::WindowRequest> _waiting;
    QTimer* _turn;
};
