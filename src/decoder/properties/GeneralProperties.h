// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/properties/Header.h"
#include "platform/PropertyValue.h"

namespace Exiv2 {
class Image;
}

namespace decoder {

/// What holds for the whole picture: PixelWidth, PixelHeight (as stored), DPIWidth, DPIHeight, Depth (bits a
/// sample), ColorModel ("RGB", "Gray", "CMYK", "Lab"), HasAlpha (0 or 1), Orientation (EXIF, 1 to 8) and
/// ProfileName; each only where the file tells it. Nothing for an empty header.
platform::PropertyDictionary generalProperties(const Header& header);

/// Adds what the metadata's library has read to what stands in the file's header, and corrects that by it.
void correctHeader(Header& header, Exiv2::Image& image);

}  // namespace decoder
