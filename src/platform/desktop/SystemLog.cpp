// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/SystemLog.h"

#include <QString>

namespace platform {

void installMessagePattern() {
    qSetMessagePattern(
        QStringLiteral("%{time yyyy-MM-dd hh:mm:ss.zzz} %{appname}[%{pid}] "
                       "%{if-category}%{category}: %{endif}%{message}"));
}

}  // namespace platform
