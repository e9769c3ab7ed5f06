// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringView>

namespace platform {

/// What a file's name says of its content, which it may belie.
enum class NamedKind {
    picture,  ///< of a format that the decoders know
    other,
    unknown,  ///< it has no extension
};

/// Looks at the extension alone. Any thread.
NamedKind kindByName(QStringView name);

}  // namespace platform
