// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/properties/FileReader.h"

#include <QSize>
#include <QString>

namespace decoder {

/// What a picture file's own header says of its first picture; what does not stand there is absent.
struct Header {
    QSize size = {};                          ///< pixels, as stored, before any orientation
    std::optional<int> depth = std::nullopt;  ///< bits a sample
    const char* colorModel = nullptr;         ///< "RGB", "Gray", "CMYK" or "Lab"
    std::optional<bool> hasAlpha = std::nullopt;
    double dpiWidth = 0;
    double dpiHeight = 0;
    std::optional<int> orientation = std::nullopt;  ///< EXIF, 1 to 8
    QString profileName = {};
};

constexpr double kCentimetresPerInch = 2.54;

/// Of all formats that are shown; an empty header for others, and for a drawing that is packed. Reads little,
/// wherever in the file it stands.
Header readHeader(const FileReader& file);

/// A size that a QSize can hold, else an invalid one.
QSize headerSize(std::uint64_t width, std::uint64_t height);

/// HEIC and AVIF: of the primary item. Source: ISO/IEC 23008-12, 6.5; ISO/IEC 14496-12, 8.11.
Header readHeifHeader(const FileReader& file);
/// Source: ISO/IEC 18181-1, SizeHeader and ImageMetadata; 18181-2, 9.
Header readJpegXlHeader(const FileReader& file);
/// TIFF of 32 and of 64 bits. Source: TIFF 6.0; the BigTIFF design by the library's authors.
Header readTiffHeader(const FileReader& file);

}  // namespace decoder
