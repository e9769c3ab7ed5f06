// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <mutex>
#include <utility>

/// Collects what goes to the system log while it lives, in place of writing it. One at a time. Threads may
/// log while it comes and goes: a line that one of them is just about to add as it goes is lost.
class LogLines {
 public:
    LogLines() {
        {
            const std::scoped_lock guard(_lock);
            _current = this;
        }
        _previous = qInstallMessageHandler(take);
    }
    ~LogLines() {
        qInstallMessageHandler(_previous);
        const std::scoped_lock guard(_lock);
        _current = nullptr;
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    /// The lines since the last call.
    QStringList taken() {
        const std::scoped_lock guard(_lock);
        return std::exchange(_lines, {});
    }

 private:
    static void take(QtMsgType, const QMessageLogContext&, const QString& message) {
        const std::scoped_lock guard(_lock);
        if (_current)
            _current->_lines += message;
    }
    inline static std::mutex _lock;  ///< guards _current and its _lines
    inline static LogLines* _current = nullptr;

    QtMessageHandler _previous = nullptr;
    QStringList _lines;
};
