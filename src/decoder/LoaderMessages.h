// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace decoder {

/// Keeps what the loaders say through the toolkit's log. Call once.
void collectLoaderMessages();

/// The last thing said since the last call, UTF-8; empty when nothing was.
QByteArray takeLoaderMessage();

}  // namespace decoder
