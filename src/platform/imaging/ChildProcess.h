// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <QByteArray>
#include <QList>

#include <sys/types.h>

#include <cstdint>
#include <memory>

namespace platform {

/// One child process with a SOCK_SEQPACKET socket to it. It inherits that socket (as `socketNumber`),
/// standard error, /dev/null for input and output, a minimal environment and nothing else; it leads a process
/// group of its own. Destroying kills the whole group and reaps the child; a child that does not die at once
/// (stuck in the kernel on a dead volume) is reaped by a later call, so that no thread ever waits for it.
class ChildProcess {
 public:
    /// Starts `program`; null when it cannot be executed.
    static std::unique_ptr<ChildProcess> start(const QByteArray& program, const QList<QByteArray>& arguments,
                                               int socketNumber);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t processId() const { return _processId; }
    int socket() const { return _socket.get(); }
    /// The bytes of it that are in memory, 0 when it has ended.
    std::uint64_t residentBytes() const;

 private:
    ChildProcess(pid_t processId, ScopedFileDescriptor socket);

    pid_t _processId;
    ScopedFileDescriptor _socket;
};

}  // namespace platform
