// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/CopiedFiles.h"

#include "platform/PathBytes.h"

#include <utility>

namespace platform {

namespace {

const QString uriList = QStringLiteral("text/uri-list");
const QString gnomeFiles = QStringLiteral("x-special/gnome-copied-files");
const QString mateFiles = QStringLiteral("x-special/mate-copied-files");
const QString kdeCut = QStringLiteral("application/x-kde-cutselection");
const QString plainText = QStringLiteral("text/plain");

}  // namespace

CopiedFiles::CopiedFiles(QStringList paths) : _paths(std::move(paths)) {
}

QStringList CopiedFiles::formats() const {
    return {uriList, gnomeFiles, mateFiles, kdeCut, plainText};
}

bool CopiedFiles::hasFormat(const QString& format) const {
    return formats().contains(format);
}

QByteArray CopiedFiles::uris(QByteArrayView separator) const {
    QByteArrayList uris;
    for (const QString& path : _paths)
        uris += fileUriFromPath(path);
    return uris.join(separator);
}

QVariant CopiedFiles::retrieveData(const QString& format, QMetaType /*type*/) const {
    if (format == uriList)
        return uris("\r\n") + "\r\n";
    if (format == gnomeFiles || format == mateFiles)
        return "copy\n" + uris("\n");
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
