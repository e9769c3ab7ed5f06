// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileList.h"

#include "platform/PathBytes.h"

namespace platform {

QByteArray fileListFromPaths(const QStringList& paths) {
    QByteArray list;
    for (const QString& path : paths)
        list += fileUriFromPath(path) + "\r\n";
    return list;
}

}  // namespace platform
