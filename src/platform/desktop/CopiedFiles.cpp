// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/CopiedFiles.h"

#include "platform/FileList.h"
#include "platform/PathBytes.h"

#include <utility>

namespace platform {

namespace {

const QString gnomeFiles = QStringLiteral("x-special/gnome-copied-files");
const QString mateFiles = QStringLiteral("x-special/mate-copied-files");
const QString kdeCut = QStringLiteral("application/x-kde-cutselection");
const QString plainText = QStringLiteral("text/plain");

}  // namespace

CopiedFiles::CopiedFiles(QStringList paths) : _paths(std::move(paths)) {
}

QStringList CopiedFiles::formats() const {
    return {fileListType, gnomeFiles, mateFiles, kdeCut, plainText};
}

bool CopiedFiles::hasFormat(const QString& format) const {
    return formats().contains(format);
}

/// What is done, then the URIs, without an end of line at the last.
QByteArray CopiedFiles::gnomeList() const {
    QByteArrayList lines{QByteArrayLiteral("copy")};
    for (const QString& path : _paths)
        lines += fileUriFromPath(path);
    return lines.join('\n');
}

QVariant CopiedFiles::retrieveData(const QString& format, QMetaType /*type*/) const {
    if (format == fileListType)
        return fileListFromPaths(_paths);
    if (format == gnomeFiles || format == mateFiles)
        return gnomeList();
    if (format == kdeCut)
        return QByteArray("0");
    if (format != plainText)
        return {};
    QStringList lines;
    for (const QString& path : _paths)
        lines += displayablePath(path);
    return lines.join(u'\n');
}

}  // namespace platform
