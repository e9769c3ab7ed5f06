// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/MendedHead.h"

#include "decoder/ByteReader.h"

#include <bit>

namespace decoder {

namespace {

void put(QByteArray& bytes, qsizetype at, std::uint32_t number) {
    qToLittleEndian(number, bytes.data() + at);
}

void mendBmp(QByteArray& head) {
    constexpr qsizetype kHeader = 14;
    constexpr qsizetype kCompression = 30;
    constexpr qsizetype kMasks = 54;  // red, green, blue and, in a header of 56 bytes and more, alpha
    constexpr std::uint32_t kPlainHeader = 40;
    constexpr std::uint32_t kBitFields = 3;
    const QByteArray stored = head;
    const ByteReader reader(stored, ByteOrder::little);
    const auto length = reader.u32(kHeader);
    if (reader.u32(kCompression) != kBitFields || !reader.part(kMasks, 16) || *length < kPlainHeader)
        return;
    const int masks = *length >= 56 ? 4 : 3;
    for (qsizetype at = kMasks; at < kMasks + qsizetype{4} * masks; at += 4) {
        const std::uint32_t mask = reader.u32(at).value_or(0);
        const int excess = std::bit_width(mask) - std::countr_zero(mask) - 8;
        if (mask != 0 && excess > 0)
            put(head, at, mask & ~0U << (std::countr_zero(mask) + excess));
    }
    if (length == 52 || length == 56)
        put(head, kHeader, kPlainHeader);
}

}  // namespace

void mendHead(Format format, QByteArray& head) {
    if (format == Format::bmp)
        mendBmp(head);
}

}  // namespace decoder
