// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/FormatDetection.h"

#include <QByteArray>

namespace decoder {

/// Rewrites in a BMP's first bytes what the toolkit's loaders get wrong, to what they read rightly:
/// - A header of 52 or 56 bytes, which they refuse, is told as one of 40 with the masks behind it.
/// - A colour mask of more than 8 bits, which they take for one of 8, is cut to its highest 8.
/// Source: BITMAPV5HEADER and its predecessors.
void mendHead(Format format, QByteArray& head);

}  // namespace decoder
