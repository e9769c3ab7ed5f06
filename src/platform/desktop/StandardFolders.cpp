// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/StandardFolders.h"

#include "platform/PathBytes.h"

#include <pwd.h>
#include <unistd.h>

#include <QDir>
#include <QStandardPaths>

#include <array>

namespace platform {

QString loginName() {
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> buffer{};
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return pathFromBytes(found->pw_name);
    return QString::number(::getuid());
}

QString homeFolder() {
    return QDir::homePath();
}

QString picturesFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
}

QString dataHome() {
    QString path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QDir().mkpath(path);
    return path;
}

}  // namespace platform
