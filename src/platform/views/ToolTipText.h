// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PathBytes.h"

#include <QString>
#include <QTextDocument>

namespace platform {

/// A text of anybody's making (a file's name, a decoder's message) for a tool tip, which takes what looks
/// like HTML for HTML and would open pictures it names: it shows as it stands. Empty for an empty text.
inline QString toolTipText(const QString& plain) {
    return plain.isEmpty() ? QString()
                           : Qt::convertFromPlainText(displayablePath(plain), Qt::WhiteSpaceNormal);
}

}  // namespace platform
