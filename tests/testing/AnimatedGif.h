// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSize>

#include <initializer_list>

namespace testPictures {

/// Frames whose first two pixels are red, green and blue in turn, each with a delay in hundredths of a
/// second; all are shown again `loops` times, 0 for ever.
inline QByteArray animatedGif(QSize size, std::initializer_list<int> delays, int loops) {
    const auto number = [](int value) {
        return QByteArray(1, char(value & 0xff)) + char(value >> 8);
    };
    QByteArray gif = "GIF89a" + number(size.width()) + number(size.height()) +
                     QByteArray::fromHex("910000ff000000ff000000ffffffff21ff0b") + "NETSCAPE2.0\3\1" +
                     number(loops) + '\0';
    int colour = 0;
    for (const int delay : delays) {
        const int codes = 4 | colour << 3 | colour << 6 | 5 << 9;  // of three bits: clear, two pixels, end
        gif += QByteArray::fromHex("21f90404") + number(delay) + QByteArray(2, '\0') +
               QByteArray::fromHex("2c00000000020001000002") + '\2' + number(codes) + '\0';
        colour = (colour + 1) % 3;
    }
    return gif + ';';
}

}  // namespace testPictures
