// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QSize>

namespace decoder {

/// What decoding needs of an EXIF block.
struct ExifBlock {
    int orientation = 1;       ///< 1 to 8
    QSize pixelSize;           ///< of the whole picture as stored; invalid where it does not stand
    QByteArrayView thumbnail;  ///< a JPEG within the block; empty where there is none
};

/// Reads a block that starts with its TIFF header; what is damaged or missing keeps its default.
ExifBlock readExifBlock(QByteArrayView block);

/// What stands in the first bytes of a JPEG.
struct JpegHead {
    QByteArrayView exif;  ///< the block after "Exif\0\0"; empty where there is none
    QSize size;           ///< of the frame header; invalid when that lies further on
    bool isLossless = false;
};

/// Follows the segments from the start of the image up to the frame header or the end of `bytes`.
JpegHead readJpegHead(QByteArrayView bytes);

}  // namespace decoder
