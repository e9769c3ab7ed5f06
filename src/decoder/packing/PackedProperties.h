// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace decoder {

inline constexpr std::uint64_t kMaximumPackedProperties = 1 << 20;  ///< bytes
inline constexpr int kMaximumPropertyValues = 16384;                ///< of all dictionaries and arrays
inline constexpr int kMaximumPropertyDepth = 4;  ///< dictionaries and arrays in one another

/// A picture's properties as bytes: each value a letter for its kind (text, integer, floating, array,
/// dictionary) and its content, texts and lists with their lengths before them. Only values of these kinds
/// are packed; what would pass a bound, and what is not finite, is left out.
QByteArray packProperties(const platform::PropertyDictionary& properties);

/// The reverse; nothing when the bytes are no packed properties or pass a bound. Never asks for more memory
/// than the bytes justify. Texts come without control characters and marks that reorder text.
std::optional<platform::PropertyDictionary> unpackProperties(QByteArrayView bytes);

}  // namespace decoder
