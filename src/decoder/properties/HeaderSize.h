// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QSize>

namespace decoder {

/// The size in pixels, before any orientation, that stands in the headers of the formats for which the
/// metadata's library knows none or a wrong one: HEIC and AVIF (of the primary item), JPEG XL, GIF, icons (of
/// the first picture) and portable maps. Invalid for all others and where it does not stand there.
QSize headerSize(QByteArrayView file);

}  // namespace decoder
