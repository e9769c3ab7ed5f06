// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/Bundle.h"

/// The text of a key in the desktop's language; the empty string for a missing key.
inline QString text(const char* key) {
    return platform::Bundle::mainBundle().localizedString(QString::fromLatin1(key));
}
