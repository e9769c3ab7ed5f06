// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <QByteArray>

#include <condition_variable>
#include <mutex>
#include <thread>

#include <sys/types.h>

/// A command's error output, which goes through a file in memory so that it can be told of afterwards: a
/// thread hands it on to the program's own error stream as it comes. Main thread.
class ErrorOutput {
 public:
    /// Where no file or no thread can be had, the output goes to the program's error stream directly.
    ErrorOutput();
    ~ErrorOutput();
    ErrorOutput(const ErrorOutput&) = delete;
    ErrorOutput& operator=(const ErrorOutput&) = delete;

    /// What stands before the command, for the shell; empty where its output is not caught.
    QByteArray redirection() const;

    /// After the command's end: the output, or its beginning where it is long. What a process that the
    /// command has left running writes from now on is lost.
    QByteArray take();

 private:
    void handOnUntilDone();
    void handOn();

    platform::ScopedFileDescriptor _file;
    off_t _position = 0;
    QByteArray _beginning;
    std::mutex _mutex;  ///< guards _isDone
    std::condition_variable _done;
    bool _isDone = false;
    std::thread _thread;  ///< has what stands above but the lock's until it is joined
};
