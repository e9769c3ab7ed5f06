// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/SessionBus.h"

#include <gio/gio.h>
#include <sys/stat.h>

#include <QByteArray>

namespace platform {

void settleSessionBusAddress() {
    constexpr const char* variable = "DBUS_SESSION_BUS_ADDRESS";
    if (!qEnvironmentVariableIsEmpty(variable))
        return;
    const QByteArray socket = qgetenv("XDG_RUNTIME_DIR") + "/bus";
    struct stat status = {};
    if (::stat(socket.constData(), &status) != 0 || !S_ISSOCK(status.st_mode)) {
        qputenv(variable, "disabled:");
        return;
    }
    char* escaped = g_dbus_address_escape_value(socket.constData());
    qputenv(variable, QByteArray("unix:path=") + escaped);
    g_free(escaped);
}

}  // namespace platform
