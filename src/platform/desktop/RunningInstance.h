// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <QObject>
#include <QString>

#include <memory>

namespace platform {

/// The one running program of a user on a display: the first listens, and every later start hands it its
/// folder and ends. They meet in the XDG runtime folder by a lock, which the system drops however the first
/// ends, and a datagram socket; neither waits for the other. Without that folder every start runs on its own.
/// Main thread only.
class RunningInstance : public QObject {
    Q_OBJECT

 public:
    /// Hands the folder (a null string for none) to the program that runs already: nothing is answered then,
    /// and this start is to end. Otherwise this is the running program from now on.
    static std::unique_ptr<RunningInstance> become(const QString& folder);

    ~RunningInstance() override;

 Q_SIGNALS:
    /// Another start asks for the window, and for a folder unless the string is null.
    void asked(const QString& folder);

 private:
    RunningInstance(ScopedFileDescriptor lock, const QByteArray& socketPath);
    void listen();
    void receive();

    ScopedFileDescriptor _lock;
    QByteArray _socketPath;
    ScopedFileDescriptor _socket;
};

}  // namespace platform
