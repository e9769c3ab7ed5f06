// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/WindowController.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <deque>

class QMessageBox;
class QTimer;

/// Opens image windows, one per turn of the event loop, so that the program stays usable while many are asked
/// for; Escape drops those that wait. Where it is very many, which may be a slip and takes megabytes each,
/// the user is asked in between whether to go on. Each window belongs to itself alone, lives until it is
/// closed, and ends with the opener at the latest. Main thread only.
class ImageWindowOpener : public QObject {
    Q_OBJECT

 public:
    static constexpr int mostUnasked = 50;

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
    void start();
    void stop();
    void ask();

    std::deque<platform::WindowRequest> _waiting;
    std::deque<platform::WindowRequest> _held;  ///< until the question is answered
    QTimer* _turn;
    int _openedUnasked = 0;
    bool _mayOpenAll = false;  ///< that wait, as the user said
    QPointer<QMessageBox> _question;
};
