// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Guard.h"

#include <QLoggingCategory>

namespace platform {

Q_LOGGING_CATEGORY(guardLog, "tavlin.guard")

void reportGuardedException(const char* where, const char* what) {
    qCWarning(guardLog, "%s ended early: %s", where, what);
}

}  // namespace platform
