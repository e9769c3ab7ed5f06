// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/InstallPrefix.h"

#include "platform/PathBytes.h"

#include <unistd.h>
#include <array>
#include <climits>

namespace platform {

QString installPrefix() {
    if (const QByteArray prefix = qgetenv("TAVLIN_PREFIX"); !prefix.isEmpty())
        return pathFromBytes(prefix);
    std::array<char, PATH_MAX> program{};
    if (::readlink("/proc/self/exe", program.data(), program.size() - 1) <= 0)
        return QStringLiteral("/usr");
    return pathByDeletingLastComponent(pathByDeletingLastComponent(pathFromBytes(program.data())));
}

}  // namespace platform
