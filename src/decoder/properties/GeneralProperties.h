// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <QByteArray>

namespace Exiv2 {
class Image;
}

namespace decoder {

/// What holds for the whole picture: PixelWidth, PixelHeight (as stored), DPIWidth, DPIHeight, Depth (bits a
/// sample), ColorModel ("RGB", "Gray", "CMYK", "Lab"), HasAlpha (0 or 1), Orientation (EXIF, 1 to 8) and
/// ProfileName; each only where the file tells it. `file`: the bytes that `image` was read from.
platform::PropertyDictionary generalProperties(Exiv2::Image& image, const QByteArray& file);

/// The description in an ICC profile, as a single line; empty where there is none.
/// Source: ICC.1:2022, 7.2 and 10.15; ICC.1:2001-04, 6.5.17.
QString profileName(QByteArrayView profile);

}  // namespace decoder
