// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/ByteReader.h"

#include <QSize>

#include <algorithm>

namespace decoder {

/// One of the pictures in an icon, as the icon's directory tells of it.
struct IconPicture {
    int index = 0;
    QSize size = {};
    int depth = 0;  ///< bits a pixel; where the directory says none, as for many PNGs, all

    int side() const { return std::max(size.width(), size.height()); }
};

/// The smallest picture that is large enough, or the largest; of one size, the deepest. Without any, one of
/// no size. Source: [MS-ICO], the header and its entries, where a side of 256 is written as 0.
inline IconPicture iconPictureFor(QByteArrayView head, int side) {
    constexpr std::uint64_t kHeaderBytes = 6;
    constexpr std::uint64_t kEntryBytes = 16;
    const ByteReader reader(head, ByteOrder::little);
    IconPicture best;
    for (int i = 0; i < reader.u16(4).value_or(0); ++i) {
        const auto at = kHeaderBytes + kEntryBytes * static_cast<std::uint64_t>(i);
        if (!reader.part(at, kEntryBytes))
            break;
        const auto written = [](int number, int zero) {
            return number == 0 ? zero : number;
        };
        const IconPicture found{i,
                                {written(*reader.u8(at), 256), written(*reader.u8(at + 1), 256)},
                                written(*reader.u16(at + 6), 32)};
        const bool isBetter = found.side() == best.side() ? found.depth > best.depth
                              : best.side() < side        ? found.side() > best.side()
                                                   : found.side() >= side && found.side() < best.side();
        if (isBetter)
            best = found;
    }
    return best;
}

}  // namespace decoder
