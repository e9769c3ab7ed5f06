// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <mutex>
#include <utility>

/// Collects what goes to the system log while it lives, in place of writing it. One at a time.
class LogLines {
 public:
    LogLines() {
        _current = this;
        _previous = qInstallMessageHandler(take);
    }
    ~LogLines() {
        qInstallMessageHandler(_previous);
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
        const std::scoped_lock guard(_current->_lock);
        _current->_lines += message;
    }
    inline static LogLines* _current = nullptr;

    QtMessageHandler _previous = nullptr;
    std::mutex _lock;  ///< guards _lines
    QStringList _lines;
};
