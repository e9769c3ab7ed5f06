// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TemporaryFolder.h"

#include "platform/PathBytes.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace platform {

namespace {

QByteArray folderMade;  // without a slash at its end

QByteArray makeBelow(QByteArray parent) {
    while (parent.endsWith('/'))
        parent.chop(1);
    QByteArray folder = parent + "/tavlin-XXXXXX";
    return ::mkdtemp(folder.data()) != nullptr ? folder : QByteArray();
}

}  // namespace

QString temporaryFolder() {
    if (const QByteArray wish = qgetenv("TMPDIR"); folderMade.isEmpty() && wish.startsWith('/'))
        folderMade = makeBelow(wish);
    if (folderMade.isEmpty())
        folderMade = makeBelow("/tmp");
    return folderMade.isEmpty() ? QString() : pathFromBytes(folderMade + '/');
}

void removeTemporaryFolder() {
    if (folderMade.isEmpty())
        return;
    std::error_code ignored;
    std::filesystem::remove_all(folderMade.toStdString(), ignored);
    folderMade.clear();
}

}  // namespace platform
