// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <QString>

#include <cstdint>

/// The parts of a picture's metadata summary; they differ in which values they list.
enum class MetadataSection : std::uint8_t { general, iptc, exif };

/// A section's text: its heading, a blank line, and one line for each property that it lists, in the
/// dictionary's order. Texts and numbers are listed in every section; arrays of class "NSCFArray" in IPTC
/// alone, those of class "NSArray" in EXIF alone; nothing else. Values start at the 34th character of their
/// line, after a key of up to 32. Main thread.
QString metadataSectionText(MetadataSection section, const platform::PropertyDictionary& properties);
