// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

namespace Exiv2 {
class IptcData;
}

namespace decoder {

/// The editorial record of the IPTC data, each dataset at its first place in the file, under its well-known
/// name; a repeated one (Keywords) is an array ("NSCFArray"). Texts are UTF-8 where the data says so (record
/// 1:90) or where all of a text is, otherwise ISO 8859-1. Source: IPTC-NAA IIM 4.2, chapter 6.
platform::PropertyDictionary iptcProperties(const Exiv2::IptcData& data);

}  // namespace decoder
