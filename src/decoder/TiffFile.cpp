// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/TiffFile.h"

#include <algorithm>
#include <array>

namespace decoder {

namespace {

constexpr std::size_t kMaximumEntries = 1024;
constexpr std::uint64_t kEntryBytes = 12;

/// Bytes of one value of an integer type; 0 for the types that are no integers.
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
        default:
            return 0;
    }
}

/// Whether a value of this type and number stands inside its entry, in place of an offset.
bool isInline(std::uint16_t type, std::uint32_t count) {
    constexpr std::array<std::uint64_t, 14> kSizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    const std::uint64_t size = type < kSizes.size() ? kSizes[type] : 0;
    return size * count <= 4;
}

}  // namespace

const TiffFile::Entry* TiffFile::Directory::find(std::uint16_t tag) const {
    const auto found = std::ranges::find(entries, tag, &Entry::tag);
    return found == entries.end() ? nullptr : &*found;
}

std::optional<TiffFile> TiffFile::open(Source source) {
    const QByteArray header = source(0, 8);
    if (!header.startsWith("II") && !header.startsWith("MM"))
        return std::nullopt;
    const ByteOrder order = header.startsWith("II") ? ByteOrder::little : ByteOrder::big;
    const ByteReader reader(header, order);
    const auto magic = reader.u16(2);
    const auto first = reader.u32(4);
    constexpr std::array<std::uint16_t, 4> kMagics{42, 0x55, 0x4f52, 0x5352};  // TIFF, RW2, ORF, ORF
    if (!first || std::ranges::find(kMagics, *magic) == kMagics.end())
        return std::nullopt;
    return TiffFile(std::move(source), order, *first);
}

TiffFile::TiffFile(Source source, ByteOrder order, std::uint32_t firstDirectory)
    : _source(std::move(source)), _order(order), _firstDirectory(firstDirectory) {
}

std::optional<TiffFile::Directory> TiffFile::directory(std::uint64_t offset) const {
    const QByteArray countBytes = _source(offset, 2);
    const auto count = ByteReader(countBytes, _order).u16(0);
    if (!count || *count == 0 || *count > kMaximumEntries)
        return std::nullopt;
    const QByteArray bytes = _source(offset + 2, qsizetype(*count) * qsizetype(kEntryBytes) + 4);
    const ByteReader reader(bytes, _order);
    Directory result;
    for (std::uint64_t at = 0; at < *count * kEntryBytes; at += kEntryBytes) {
        const auto value = reader.u32(at + 8);
        if (!value)
            break;
        Entry entry{*reader.u16(at), *reader.u16(at + 2), *reader.u32(at + 4), *value};
        if (isInline(entry.type, entry.count))
            entry.valueOffset = offset + 2 + at + 8;
        result.entries.push_back(entry);
    }
    result.next = reader.u32(*count * kEntryBytes).value_or(0);
    return result;
}

std::vector<std::uint32_t> TiffFile::numbers(const Entry& entry, std::size_t maximum) const {
    const std::uint64_t size = integerSize(entry.type);
    std::vector<std::uint32_t> values;
    if (size == 0)
        return values;
    const std::uint64_t count = std::min<std::uint64_t>(entry.count, maximum);
    const QByteArray bytes = _source(entry.valueOffset, qsizetype(count) * qsizetype(size));
    const ByteReader reader(bytes, _order);
    for (std::uint64_t at = 0; at + size <= static_cast<std::uint64_t>(bytes.size()); at += size) {
        if (size == 1)
            values.push_back(*reader.u8(at));
        else
            values.push_back(size == 2 ? *reader.u16(at) : *reader.u32(at));
    }
    return values;
}

std::optional<std::uint32_t> TiffFile::number(const Directory& directory, std::uint16_t tag) const {
    const Entry* entry = directory.find(tag);
    if (!entry)
        return std::nullopt;
    const auto values = numbers(*entry, 1);
    return values.empty() ? std::nullopt : std::optional(values.front());
}

}  // namespace decoder
