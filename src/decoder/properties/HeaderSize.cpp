// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/HeaderSize.h"

#include "decoder/ByteReader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace decoder {

namespace {

constexpr std::uint32_t kLargestSide = 0x7fffffff;

QSize sizeOf(std::uint64_t width, std::uint64_t height) {
    if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide)
        return {};
    return {static_cast<int>(width), static_cast<int>(height)};
}

/// A box of an ISO base media file (ISO/IEC 14496-12, 4.2), without its header.
struct Box {
    QByteArrayView type;
    ByteReader content;
};

/// The boxes in a row; those that do not fit end it. JPEG XL's last one may go on to the file's end.
std::vector<Box> boxesIn(QByteArrayView bytes) {
    constexpr std::size_t kMost = 1024;
    const ByteReader reader(bytes);
    std::vector<Box> boxes;
    for (std::uint64_t at = 0; boxes.size() < kMost;) {
        const auto shortLength = reader.u32(at);
        const auto type = reader.part(at + 4, 4);
        if (!type)
            break;
        const std::uint64_t header = *shortLength == 1 ? 16 : 8;
        const std::uint64_t rest = static_cast<std::uint64_t>(bytes.size()) - at;
        const std::uint64_t length = *shortLength == 0   ? rest
                                     : *shortLength == 1 ? reader.u64(at + 8).value_or(0)
                                                         : *shortLength;
        if (length < header || length > rest)
            break;
        boxes.push_back({*type, ByteReader(*reader.part(at + header, length - header))});
        at += length;
    }
    return boxes;
}

QByteArrayView contentOf(const std::vector<Box>& boxes, QByteArrayView type) {
    const auto found = std::ranges::find(boxes, type, &Box::type);
    return found == boxes.end() ? QByteArrayView() : found->content.bytes();
}

/// What follows the version and flags that some boxes start with.
QByteArrayView withoutVersion(QByteArrayView content) {
    return content.sliced(std::min<qsizetype>(4, content.size()));
}

std::optional<std::uint32_t> itemId(const ByteReader& reader, std::uint64_t at, bool isWide) {
    return isWide ? reader.u32(at) : std::optional<std::uint32_t>(reader.u16(at));
}

/// The numbers, from 1, of an item's properties. Source: ISO/IEC 23008-12, 9.3.1, ItemPropertyAssociation.
std::vector<std::size_t> propertiesOfItem(const ByteReader& associations, std::uint32_t item) {
    const bool hasWideItems = associations.u8(0).value_or(0) >= 1;
    const bool hasWideNumbers = (associations.u8(3).value_or(0) & 1) != 0;
    const std::uint32_t count = associations.u32(4).value_or(0);
    std::vector<std::size_t> numbers;
    std::uint64_t at = 8;
    for (std::uint32_t entry = 0; entry < count; ++entry) {
        const auto id = itemId(associations, at, hasWideItems);
        at += hasWideItems ? 4 : 2;
        const auto numberCount = associations.u8(at++);
        if (!id || !numberCount)
            break;
        for (int i = 0; i < *numberCount && *id == item; ++i)
            numbers.push_back(hasWideNumbers
                                  ? associations.u16(at + 2 * std::uint64_t(i)).value_or(0) & 0x7fffU
                                  : associations.u8(at + std::uint64_t(i)).value_or(0) & 0x7fU);
        if (*id == item)
            break;
        at += std::uint64_t(*numberCount) * (hasWideNumbers ? 2 : 1);
    }
    return numbers;
}

/// Source: ISO/IEC 23008-12, 6.5.3, ImageSpatialExtents; ISO/IEC 14496-12, 8.11.4, PrimaryItem.
QSize sizeOfHeif(QByteArrayView file) {
    const std::vector<Box> meta = boxesIn(withoutVersion(contentOf(boxesIn(file), "meta")));
    const ByteReader primary(contentOf(meta, "pitm"));
    const auto item = itemId(primary, 4, primary.u8(0).value_or(0) >= 1);
    const std::vector<Box> tables = boxesIn(contentOf(meta, "iprp"));
    const std::vector<Box> properties = boxesIn(contentOf(tables, "ipco"));
    for (const Box& table : tables) {
        if (!item || table.type != QByteArrayView("ipma"))
            continue;
        for (const std::size_t number : propertiesOfItem(table.content, *item)) {
            if (number < 1 || number > properties.size() ||
                properties[number - 1].type != QByteArrayView("ispe"))
                continue;
            const ByteReader& extents = properties[number - 1].content;
            return sizeOf(extents.u32(4).value_or(0), extents.u32(8).value_or(0));
        }
    }
    return {};
}

/// Bits of a JPEG XL codestream, the lowest of each byte first; beyond the end they are 0.
class BitReader {
 public:
    explicit BitReader(const ByteReader& bytes) : _bytes(bytes) {}
    std::uint32_t take(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i, ++_at)
            value |= (_bytes.u8(_at / 8).value_or(0) >> (_at % 8) & 1U) << i;
        return value;
    }

 private:
    const ByteReader& _bytes;
    std::uint64_t _at = 16;  // after the signature
};

/// Source: ISO/IEC 18181-1, SizeHeader.
QSize sizeOfCodestream(const ByteReader& codestream) {
    constexpr std::array kBits{9, 13, 18, 30};
    constexpr std::array<std::array<std::uint64_t, 2>, 8> kRatios{
        {{}, {1, 1}, {12, 10}, {4, 3}, {3, 2}, {16, 9}, {5, 4}, {2, 1}}};
    if (codestream.u16(0) != 0xff0a)
        return {};
    BitReader bits(codestream);
    const bool isSmall = bits.take(1) != 0;
    const auto side = [&]() -> std::uint64_t {
        return isSmall ? (bits.take(5) + 1) * 8 : bits.take(kBits.at(bits.take(2))) + 1;
    };
    const std::uint64_t height = side();
    const auto& [over, under] = kRatios.at(bits.take(3));
    return sizeOf(under == 0 ? side() : height * over / under, height);
}

/// A codestream by itself, or in a box or the first of several. Source: ISO/IEC 18181-2, 9.
QSize sizeOfJpegXl(QByteArrayView file) {
    if (file.startsWith("\xff\x0a"))
        return sizeOfCodestream(ByteReader(file));
    for (const Box& box : boxesIn(file)) {
        if (box.type == QByteArrayView("jxlc"))
            return sizeOfCodestream(box.content);
        if (box.type == QByteArrayView("jxlp"))
            return sizeOfCodestream(ByteReader(withoutVersion(box.content.bytes())));
    }
    return {};
}

/// Source: the netpbm manual pages: numbers after the signature, among blanks and comments.
QSize sizeOfPortableMap(QByteArrayView file) {
    constexpr qsizetype kMostHeader = 4096;
    std::array<std::uint64_t, 2> numbers{};
    qsizetype at = 2;
    const auto current = [&] {
        return at < std::min(file.size(), kMostHeader) ? file[at] : '\0';
    };
    for (std::uint64_t& number : numbers) {
        for (; current() == '#' || (current() >= '\t' && current() <= ' '); ++at)
            while (current() == '#' && file.indexOf('\n', at) > at)
                at = file.indexOf('\n', at);
        for (; current() >= '0' && current() <= '9' && number <= kLargestSide; ++at)
            number = number * 10 + static_cast<std::uint64_t>(current() - '0');
    }
    return sizeOf(numbers[0], numbers[1]);
}

}  // namespace

QSize headerSize(QByteArrayView file) {
    const ByteReader little(file, ByteOrder::little);
    const auto type = little.part(4, 4);
    if (!type)
        return {};
    if (*type == "ftyp")
        return sizeOfHeif(file);
    if (file.startsWith("\xff\x0a") || *type == "JXL ")
        return sizeOfJpegXl(file);
    if (file.startsWith("GIF8"))
        return sizeOf(little.u16(6).value_or(0), little.u16(8).value_or(0));
    if (little.u32(0) == 0x10000 && little.u8(9) == 0) {  // a side of 256 is written as 0
        const auto side = [&](std::uint64_t at) {
            const int written = little.u8(at).value_or(0);
            return static_cast<std::uint64_t>(written == 0 ? 256 : written);
        };
        return sizeOf(side(6), side(7));
    }
    const bool isMap = file[0] == 'P' && file[1] >= '1' && file[1] <= '6' && file[2] <= ' ';
    return isMap ? sizeOfPortableMap(file) : QSize();
}

}  // namespace decoder
