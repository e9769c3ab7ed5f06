// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <optional>

namespace Exiv2 {
class ExifData;
class Exifdatum;
}  // namespace Exiv2

namespace decoder {

/// The camera's part of the EXIF data in the file's order, under the names that the standard gives its tags.
/// Fractions are decimals, those by zero are left out; several values are an array ("NSArray"), and so are
/// those tags whose number of values varies. Data of no kind that a person reads (maker notes) is left out.
/// Source: EXIF 2.32, 4.6.5.
platform::PropertyDictionary exifProperties(const Exiv2::ExifData& data);

/// A value's `index`th number; nothing when there is none.
std::optional<double> exifNumber(const Exiv2::Exifdatum& datum, long index = 0);
/// The first number of the tag with this key ("Exif.Image.Orientation").
std::optional<double> exifNumber(const Exiv2::ExifData& data, const char* key);

}  // namespace decoder
