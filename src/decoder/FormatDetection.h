// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>

namespace decoder {

/// What a file is, by its first bytes alone; a name is never looked at.
enum class Format {
    unknown,
    jpeg,
    png,
    gif,
    webp,
    tiff,  ///< also most cameras' raw files, which the directories inside tell apart
    bmp,
    ico,
    portableMap,
    svg,
    compressedSvg,
    heif,  ///< HEIC and AVIF
    jpegXl,
    fujiRaw,       ///< RAF
    canonRaw3,     ///< CR3
    panasonicRaw,  ///< RW2
    olympusRaw,    ///< ORF
};

/// The number of first bytes that detectFormat() wants to see.
inline constexpr qsizetype kHeadBytes = 4096;

Format detectFormat(QByteArrayView head);

}  // namespace decoder
