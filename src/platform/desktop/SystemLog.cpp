// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/SystemLog.h"

#include <unistd.h>

#include <QString>

#include <cerrno>
#include <mutex>

namespace platform {

namespace {

/// Qt's own handler writes through stdio, which takes a line of over 8 KiB apart. What cannot be written is
/// dropped: there is nobody left to tell.
void writeLine(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    static std::mutex lock;  // guards the order of the pieces
    const QByteArray line = qFormatLogMessage(type, context, message).toUtf8() + '\n';
    const std::scoped_lock guard(lock);
    for (qsizetype written = 0; written < line.size();) {
        const ssize_t count = ::write(STDERR_FILENO, line.constData() + written,
                                      static_cast<std::size_t>(line.size() - written));
        if (count < 0 && errno != EINTR)
            return;
        written += count < 0 ? 0 : count;
    }
}

}  // namespace

void installSystemLog() {
    qSetMessagePattern(
        QStringLiteral("%{time yyyy-MM-dd hh:mm:ss.zzz} %{appname}[%{pid}] "
                       "%{if-category}%{category}: %{endif}%{message}"));
    qInstallMessageHandler(writeLine);
}

}  // namespace platform
