// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintProgress.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QWindow>

#include <chrono>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 300ms;  // that printing waits for its panel to appear

}  // namespace

PrintProgress::PrintProgress(QWidget& window, const QString& text) : _dialog(new QProgressDialog(&window)) {
    _dialog->setLabelText(text);
    _dialog->setRange(0, 0);
    _dialog->setWindowModality(Qt::ApplicationModal);
    _dialog->setWindowTitle(window.windowTitle());
    _dialog->setMinimumDuration(0);
    _dialog->show();
    // Until it is there nothing else may happen: the user's input waits.
    const QDeadlineTimer deadline(patience);
    do {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 10);
    } while (_dialog && !_dialog->windowHandle()->isExposed() && !deadline.hasExpired());
    if (_dialog)
        _dialog->repaint();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

PrintProgress::~PrintProgress() {
    delete _dialog.data();
}

bool PrintProgress::goesOn() {
    QCoreApplication::processEvents();
    return _dialog && !_dialog->wasCanceled();
}

}  // namespace platform
