// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/Header.h"
#include "decoder/properties/IccProfile.h"

#include <algorithm>
#include <array>
#include <vector>

namespace decoder {

namespace {

/// A box of an ISO base media file (ISO/IEC 14496-12, 4.2), without its header.
struct Box {
    QByteArrayView type;
    ByteReader content;
};

/// The boxes in a row; those that do not fit end it.
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

/// The first bytes of the file's own box of a type, without its header; empty where there is none.
QByteArray contentOfFileBox(const FileReader& file, const std::vector<QByteArrayView>& types,
                            std::uint64_t maximum) {
    constexpr int kMost = 1024;
    std::uint64_t at = 0;
    for (int i = 0; i < kMost; ++i) {
        const auto shortLength = file.u32(at);
        const QByteArray type = file.bytes(at + 4, 4);
        if (!shortLength || type.size() < 4)
            break;
        const std::uint64_t header = *shortLength == 1 ? 16 : 8;
        const std::uint64_t length = *shortLength == 0   ? file.size() - at
                                     : *shortLength == 1 ? file.u64(at + 8).value_or(0)
                                                         : *shortLength;
        if (length < header || length > file.size() - at)
            break;
        if (std::ranges::find(types, QByteArrayView(type)) != types.end()) {
            // Parts of a codestream are numbered.
            const std::uint64_t number = type == "jxlp" ? 4 : 0;
            return file.bytes(at + header + number, std::min(maximum, length - header));
        }
        at += length;
    }
    return {};
}

void noteProperty(Header& header, const Box& property) {
    const ByteReader& content = property.content;
    if (property.type == QByteArrayView("ispe"))
        header.size = headerSize(content.u32(4).value_or(0), content.u32(8).value_or(0));
    if (property.type == QByteArrayView("pixi")) {
        header.depth = content.u8(5);
        header.colorModel = content.u8(4) == 1 ? "Gray" : "RGB";
    }
    const auto kind = content.part(0, 4);
    if (property.type == QByteArrayView("colr") && kind && (*kind == "prof" || *kind == "rICC"))
        header.profileName = profileName(content.bytes().sliced(4));
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

/// A value of four distributions, each a start and a number of bits.
std::uint32_t takeOneOf(BitReader& bits, const std::array<std::array<std::uint32_t, 2>, 4>& choices) {
    const auto& [start, count] = choices.at(bits.take(2));
    return start + bits.take(static_cast<int>(count));
}

QSize takeSize(BitReader& bits) {
    constexpr std::array kBits{9, 13, 18, 30};
    constexpr std::array<std::array<std::uint64_t, 2>, 8> kRatios{
        {{}, {1, 1}, {12, 10}, {4, 3}, {3, 2}, {16, 9}, {5, 4}, {2, 1}}};
    const bool isSmall = bits.take(1) != 0;
    const auto side = [&]() -> std::uint64_t {
        return isSmall ? (bits.take(5) + 1) * 8 : bits.take(kBits.at(bits.take(2))) + 1;
    };
    const std::uint64_t height = side();
    const auto& [over, under] = kRatios.at(bits.take(3));
    return headerSize(under == 0 ? side() : height * over / under, height);
}

/// Up to the first channel beside the colours; none of a picture with a preview or of an animation.
void takeSamples(BitReader& bits, Header& header) {
    const bool isDefault = bits.take(1) != 0;
    const bool hasMore = !isDefault && bits.take(1) != 0;
    if (hasMore) {
        bits.take(3);           // the orientation, which its decoder applies
        if (bits.take(3) != 0)  // a size to be shown at, a preview, an animation
            return;
    }
    header.depth = 8;
    header.colorModel = "RGB";
    header.hasAlpha = false;
    if (isDefault)
        return;
    const bool isFloating = bits.take(1) != 0;
    header.depth = static_cast<int>(isFloating ? takeOneOf(bits, {{{32, 0}, {16, 0}, {24, 0}, {1, 6}}})
                                               : takeOneOf(bits, {{{8, 0}, {10, 0}, {12, 0}, {1, 6}}}));
    if (isFloating)
        bits.take(4);
    bits.take(1);  // how wide a decoder's numbers are to be
    const std::uint32_t channels = takeOneOf(bits, {{{0, 0}, {1, 0}, {2, 4}, {1, 12}}});
    if (channels > 0) {
        const bool isPlainAlpha = bits.take(1) != 0;
        header.hasAlpha = isPlainAlpha || takeOneOf(bits, {{{0, 0}, {1, 0}, {2, 4}, {18, 6}}}) == 0;
        if (!isPlainAlpha || channels > 1)
            return;
    }
    bits.take(1);  // whether its colours are stored as they are seen
    const bool isPlain = bits.take(1) != 0;
    const bool hasProfile = !isPlain && bits.take(1) != 0;
    if (!isPlain && !hasProfile && takeOneOf(bits, {{{0, 0}, {1, 0}, {2, 4}, {18, 6}}}) == 1)
        header.colorModel = "Gray";
}

}  // namespace

Header readHeifHeader(const FileReader& file) {
    constexpr std::uint64_t kMostMetadata = 16 << 20;
    const QByteArray content = contentOfFileBox(file, {"meta"}, kMostMetadata);
    const std::vector<Box> meta = boxesIn(withoutVersion(content));
    const ByteReader primary(contentOf(meta, "pitm"));
    const auto item = itemId(primary, 4, primary.u8(0).value_or(0) >= 1);
    const std::vector<Box> tables = boxesIn(contentOf(meta, "iprp"));
    const std::vector<Box> properties = boxesIn(contentOf(tables, "ipco"));
    Header header{{}, 8, "RGB", contentOf(properties, "auxC").contains("alpha")};
    for (const Box& table : tables) {
        if (!item || table.type != QByteArrayView("ipma"))
            continue;
        for (const std::size_t number : propertiesOfItem(table.content, *item)) {
            if (number >= 1 && number <= properties.size())
                noteProperty(header, properties[number - 1]);
        }
    }
    return header;
}

Header readJpegXlHeader(const FileReader& file) {
    constexpr std::uint64_t kHeaderBytes = 64;
    const QByteArray codestream = file.u16(0) == 0xff0a
                                      ? file.bytes(0, kHeaderBytes)
                                      : contentOfFileBox(file, {"jxlc", "jxlp"}, kHeaderBytes);
    const ByteReader reader(codestream);
    if (reader.u16(0) != 0xff0a)
        return {};
    BitReader bits(reader);
    Header header;
    header.size = takeSize(bits);
    takeSamples(bits, header);
    return header;
}

}  // namespace decoder
