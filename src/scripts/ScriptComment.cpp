// SPDX-License-Identifier: GPL-3.0-or-later
#include "scripts/ScriptComment.h"

#include "platform/FileAccess.h"

#include <unistd.h>

#include <QByteArray>
#include <QList>

#include <array>

QString firstCommentOfScript(const QString& path) {
    const auto file = platform::openRegularFile(path);
    std::array<char, 4096> head{};
    const ssize_t size = file.isValid() ? ::read(file.get(), head.data(), head.size()) : 0;
    const QByteArray text(head.data(), static_cast<qsizetype>(size > 0 ? size : 0));
    for (const QByteArray& rawLine : text.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.isEmpty() || line.startsWith("#!"))
            continue;
        for (const char* mark : {"#", "--", "//"}) {
            if (!line.startsWith(mark))
                continue;
            const QByteArray comment = line.sliced(static_cast<qsizetype>(qstrlen(mark))).trimmed();
            if (!comment.isEmpty() && !comment.startsWith("SPDX-"))
                return QString::fromUtf8(comment);
        }
        if (!line.startsWith('#') && !line.startsWith("--") && !line.startsWith("//"))
            break;
    }
    return {};
}
