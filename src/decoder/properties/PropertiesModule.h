// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <QByteArray>

#include <optional>

/// Metadata stands in a module of its own, in a process of its own: its library neither slows the start of
/// the decoders of pictures nor takes one of them with it.
namespace decoder {

/// The properties of a picture file's first picture, in the file's order: the general ones at top level, then
/// "{Exif}" and "{IPTC}" where there are any. Nothing when the bytes are no picture that can be read.
using ReadProperties = std::optional<platform::PropertyDictionary> (*)(const QByteArray& file);

/// The module's name beside the executable, and its function's.
inline constexpr const char* kPropertiesModule = "tavlin-properties.so";
inline constexpr const char* kPropertiesFunction = "tavlinProperties";
using PropertiesFunction = ReadProperties (*)();

}  // namespace decoder
