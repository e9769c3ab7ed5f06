// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QtEndian>

#include <cstdint>
#include <cstring>
#include <optional>

namespace decoder {

enum class ByteOrder : bool { little, big };

/// Numbers and parts of untrusted bytes: whatever reaches outside is nothing.
class ByteReader {
 public:
    explicit ByteReader(QByteArrayView bytes, ByteOrder order = ByteOrder::big)
        : _bytes(bytes), _order(order) {}

    QByteArrayView bytes() const { return _bytes; }
    ByteOrder order() const { return _order; }
    qsizetype size() const { return _bytes.size(); }

    std::optional<std::uint8_t> u8(std::uint64_t offset) const { return number<std::uint8_t>(offset); }
    std::optional<std::uint16_t> u16(std::uint64_t offset) const { return number<std::uint16_t>(offset); }
    std::optional<std::uint32_t> u32(std::uint64_t offset) const { return number<std::uint32_t>(offset); }
    std::optional<std::uint64_t> u64(std::uint64_t offset) const { return number<std::uint64_t>(offset); }

    /// The part of `length` bytes from `offset` on, whole or not at all.
    std::optional<QByteArrayView> part(std::uint64_t offset, std::uint64_t length) const {
        const auto all = static_cast<std::uint64_t>(_bytes.size());
        if (offset > all || length > all - offset)
            return std::nullopt;
        return _bytes.sliced(static_cast<qsizetype>(offset), static_cast<qsizetype>(length));
    }

 private:
    template <typename Number>
    std::optional<Number> number(std::uint64_t offset) const {
        const auto place = part(offset, sizeof(Number));
        if (!place)
            return std::nullopt;
        return _order == ByteOrder::big ? qFromBigEndian<Number>(place->data())
                                        : qFromLittleEndian<Number>(place->data());
    }

    QByteArrayView _bytes;
    ByteOrder _order;
};

}  // namespace decoder
