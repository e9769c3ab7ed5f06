// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/ByteReader.h"

#include <QIODevice>

#include <algorithm>

namespace decoder {

/// Numbers and parts of an untrusted file, of which no more is read than is asked for: whatever reaches
/// outside is nothing. The file is borrowed.
class FileReader {
 public:
    explicit FileReader(QIODevice& file, ByteOrder order = ByteOrder::big) : _file(file), _order(order) {}

    std::uint64_t size() const { return static_cast<std::uint64_t>(_file.size()); }
    ByteOrder order() const { return _order; }
    /// The same file in the other order of bytes.
    FileReader in(ByteOrder order) const { return FileReader(_file, order); }

    std::optional<std::uint8_t> u8(std::uint64_t offset) const { return number<std::uint8_t>(offset); }
    std::optional<std::uint16_t> u16(std::uint64_t offset) const { return number<std::uint16_t>(offset); }
    std::optional<std::uint32_t> u32(std::uint64_t offset) const { return number<std::uint32_t>(offset); }
    std::optional<std::uint64_t> u64(std::uint64_t offset) const { return number<std::uint64_t>(offset); }

    /// The bytes from `offset` on, as many as there are of `maximum`.
    QByteArray bytes(std::uint64_t offset, std::uint64_t maximum) const {
        if (offset >= size() || !_file.seek(static_cast<qint64>(offset)))
            return {};
        return _file.read(static_cast<qint64>(std::min(maximum, size() - offset)));
    }
    /// The part of `length` bytes from `offset` on, whole or not at all.
    std::optional<QByteArray> part(std::uint64_t offset, std::uint64_t length) const {
        if (offset > size() || length > size() - offset)
            return std::nullopt;
        QByteArray part = bytes(offset, length);
        return static_cast<std::uint64_t>(part.size()) == length ? std::optional(part) : std::nullopt;
    }

 private:
    template <typename Number>
    std::optional<Number> number(std::uint64_t offset) const {
        char bytes[sizeof(Number)];
        if (offset >= size() || !_file.seek(static_cast<qint64>(offset)) ||
            _file.read(bytes, sizeof bytes) != sizeof bytes)
            return std::nullopt;
        return _order == ByteOrder::big ? qFromBigEndian<Number>(bytes) : qFromLittleEndian<Number>(bytes);
    }

    QIODevice& _file;
    ByteOrder _order;
};

}  // namespace decoder
