// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/ByteReader.h"
#include "decoder/FormatDetection.h"

#include <QSize>

#include <algorithm>

namespace decoder {

/// The size in pixels that stands in the first bytes of a PNG or GIF; invalid for other formats.
/// Sources: PNG, third edition, 11.2.1; GIF 89a, 18.
inline QSize declaredSize(Format format, QByteArrayView head) {
    const ByteReader big(head);
    const ByteReader little(head, ByteOrder::little);
    if (format == Format::png) {
        const auto width = big.u32(16);
        const auto height = big.u32(20);
        constexpr std::uint32_t kLargest = 0x7fffffff;
        if (height)
            return {static_cast<int>(std::min(*width, kLargest)),
                    static_cast<int>(std::min(*height, kLargest))};
    } else if (format == Format::gif) {
        if (const auto height = little.u16(8))
            return {*little.u16(6), *height};
    }
    return {};
}

}  // namespace decoder
