// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffFile.h"

#include <algorithm>
#include <array>

namespace decoder {

namespace {

constexpr std::uint64_t kMaximumEntries = 1024;

/// A number of 1, 2, 4 or 8 bytes.
std::optional<std::uint64_t> numberAt(const ByteReader& reader, std::uint64_t at, std::uint64_t bytes) {
    switch (bytes) {
        case 1:
            return reader.u8(at);
        case 2:
            return reader.u16(at);
        case 4:
            return reader.u32(at);
        default:
            return reader.u64(at);
    }
}

/// Bytes of one value of an unsigned integer type; 0 for all others.
std::uint64_t integerSize(std::uint16_t type) {
    switch (type) {
        case 1:  // BYTE
        case 7:  // UNDEFINED
            return 1;
        case 3:  // SHORT
            return 2;
        case 4:   // LONG
        case 13:  // IFD
            return 4;
        case 16:  // LONG8
        case 18:  // IFD8
            return 8;
        default:
            return 0;
    }
}

/// Whether a value of this type and number stands inside its entry, in place of an offset.
bool isInline(std::uint16_t type, std::uint64_t count, std::uint64_t room) {
    constexpr std::array<std::uint64_t, 19> kSizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    const std::uint64_t size = type < kSizes.size() ? kSizes[type] : 0;
    return size == 0 || count <= room / size;
}

}  // namespace

const TiffFile::Entry* TiffFile::Directory::find(std::uint16_t tag) const {
    const auto found = std::ranges::find(entries, tag, &Entry::tag);
    return found == entries.end() ? nullptr : &*found;
}

std::optional<TiffFile> TiffFile::open(Source source) {
    const QByteArray header = source(0, 16);
    if (!header.startsWith("II") && !header.startsWith("MM"))
        return std::nullopt;
    const ByteOrder order = header.startsWith("II") ? ByteOrder::little : ByteOrder::big;
    const ByteReader reader(header, order);
    const auto magic = reader.u16(2);
    constexpr std::uint16_t kBigMagic = 43;
    constexpr std::array<std::uint16_t, 4> kMagics{42, 0x55, 0x4f52, 0x5352};  // TIFF, RW2, ORF, ORF
    if (const auto first = reader.u64(8); magic == kBigMagic && first && reader.u16(4) == kBig.value)
        return TiffFile(std::move(source), order, *first, kBig);
    if (const auto first = reader.u32(4); first && std::ranges::find(kMagics, *magic) != kMagics.end())
        return TiffFile(std::move(source), order, *first, kClassic);
    return std::nullopt;
}

std::optional<TiffFile::Directory> TiffFile::directory(std::uint64_t offset) const {
    const QByteArray countBytes = _source(offset, qsizetype(_layout.count));
    const auto count = numberAt(ByteReader(countBytes, _order), 0, _layout.count);
    if (!count || *count == 0)
        return std::nullopt;
    const std::uint64_t start = offset + _layout.count;
    const std::uint64_t end = std::min(*count, kMaximumEntries) * _layout.entry;
    const std::uint64_t length = end + _layout.value;  // with the next one's offset
    const QByteArray bytes = _source(start, qsizetype(length));
    const ByteReader reader(bytes, _order);
    Directory result;
    for (std::uint64_t at = 0; at < end; at += _layout.entry) {
        const std::uint64_t valueAt = at + 4 + _layout.value;
        const auto value = numberAt(reader, valueAt, _layout.value);
        if (!value)
            break;
        Entry entry{*reader.u16(at), *reader.u16(at + 2), *numberAt(reader, at + 4, _layout.value), *value};
        if (isInline(entry.type, entry.count, _layout.value))
            entry.valueOffset = start + valueAt;
        result.entries.push_back(entry);
    }
    if (*count <= kMaximumEntries)
        result.next = numberAt(reader, end, _layout.value).value_or(0);
    return result;
}

std::vector<std::uint64_t> TiffFile::numbers(const Entry& entry, std::size_t maximum) const {
    const std::uint64_t size = integerSize(entry.type);
    std::vector<std::uint64_t> values;
    if (size == 0)
        return values;
    const std::uint64_t length = size * std::min<std::uint64_t>(entry.count, maximum);
    const QByteArray bytes = _source(entry.valueOffset, qsizetype(length));
    const ByteReader reader(bytes, _order);
    for (std::uint64_t at = 0; at + size <= static_cast<std::uint64_t>(bytes.size()); at += size)
        values.push_back(*numberAt(reader, at, size));
    return values;
}

std::optional<std::uint64_t> TiffFile::number(const Directory& directory, std::uint16_t tag) const {
    const Entry* entry = directory.find(tag);
    if (!entry)
        return std::nullopt;
    const auto values = numbers(*entry, 1);
    return values.empty() ? std::nullopt : std::optional(values.front());
}

double TiffFile::fraction(const Directory& directory, std::uint16_t tag) const {
    constexpr std::uint16_t kRational = 5;
    const Entry* entry = directory.find(tag);
    const QByteArray value =
        entry && entry->type == kRational ? _source(entry->valueOffset, 8) : QByteArray();
    const ByteReader reader(value, _order);
    const double under = reader.u32(4).value_or(0);
    return under == 0 ? 0 : reader.u32(0).value_or(0) / under;
}

QByteArray TiffFile::bytes(const Directory& directory, std::uint16_t tag, std::uint64_t maximum) const {
    const Entry* entry = directory.find(tag);
    return entry ? _source(entry->valueOffset, qsizetype(std::min(entry->count, maximum))) : QByteArray();
}

}  // namespace decoder
