// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MountTable.h"

#include "platform/PathBytes.h"

#include <QList>

#include <fcntl.h>
#include <poll.h>

#include <array>
#include <cstddef>
#include <utility>

namespace platform {

namespace {

constexpr qsizetype mountFolderField = 4;

bool isOctalDigit(char c) {
    return c >= '0' && c <= '7';
}

QByteArray withoutOctalEscapes(const QByteArray& field) {
    QByteArray plain;
    plain.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        const bool isEscape = field[i] == '\\' && i + 3 < field.size() && isOctalDigit(field[i + 1]) &&
                              isOctalDigit(field[i + 2]) && isOctalDigit(field[i + 3]);
        if (isEscape) {
            plain += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                       (field[i + 3] - '0'));
            i += 3;
        } else {
            plain += field[i];
        }
    }
    return plain;
}

QByteArray readFromStart(int descriptor) {
    QByteArray text;
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t got = ::pread(descriptor, buffer.data(), buffer.size(), text.size());
        if (got <= 0)
            return text;
        text.append(buffer.data(), got);
    }
}

}  // namespace

std::vector<QString> mountFoldersFromTable(const QByteArray& mountinfo) {
    std::vector<QString> folders;
    for (const QByteArray& line : mountinfo.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        if (fields.size() > mountFolderField && fields[mountFolderField].startsWith('/'))
            folders.push_back(pathFromBytes(withoutOctalEscapes(fields[mountFolderField])));
    }
    return folders;
}

QString mountFolderOfPath(const std::vector<QString>& mountFolders, const QString& path) {
    QString longest = QStringLiteral("/");
    for (const QString& folder : mountFolders) {
        if (folder.size() > longest.size() && isBelowFolder(path, folder))
            longest = folder;
    }
    return longest;
}

MountTable::MountTable() : _table(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {
}

bool MountTable::hasChanged() {
    pollfd watched{_table.get(), POLLPRI, 0};
    const bool isTold = ::poll(&watched, 1, 0) > 0 && (watched.revents & (POLLPRI | POLLERR)) != 0;
    return std::exchange(_isNew, false) || isTold;
}

const std::vector<QString>& MountTable::mountFolders() {
    if (hasChanged())
        _mountFolders = mountFoldersFromTable(readFromStart(_table.get()));
    return _mountFolders;
}

}  // namespace platform
