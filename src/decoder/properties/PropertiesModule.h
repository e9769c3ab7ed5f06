// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <QIODevice>

#include <optional>

/// Metadata stands in a module of its own, in a process of its own: its library neither slows the start of
/// the decoders of pictures nor takes one of them with it.
namespace decoder {

/// The properties of a picture file's first picture, in the file's order: the general ones at top level, then
/// "{Exif}" and "{IPTC}" where there are any. Nothing when it is no picture that can be read.
/// Reads what it needs; only a TIFF, and raw files that are built like one, whole.
using ReadProperties = std::optional<platform::PropertyDictionary> (*)(QIODevice& file);

/// The module's name beside the executable, and its function's.
inline constexpr const char* kPropertiesModule = "tavlin-properties.so";
inline constexpr const char* kPropertiesFunction = "tavlinProperties";
using PropertiesFunction = ReadProperties (*)();

}  // namespace decoder
