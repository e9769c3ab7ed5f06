// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <QObject>

class QSocketNotifier;

namespace platform {

/// Turns SIGTERM, SIGINT and SIGHUP into received() in the event loop. Each signal is caught once; a second
/// one of the same kind ends the process in the system's way, should the loop hang. A signal that was ignored
/// when the program started (nohup) stays ignored. One object for each process, made in the main thread.
class TerminationSignals : public QObject {
    Q_OBJECT

 public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

 Q_SIGNALS:
    void received();

 private:
    ScopedFileDescriptor _readEnd;
    ScopedFileDescriptor _writeEnd;
};

}  // namespace platform
