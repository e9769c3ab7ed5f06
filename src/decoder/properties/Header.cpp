// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/Header.h"

#include "decoder/DeclaredSize.h"
#include "decoder/IconDirectory.h"

#include <QStringList>
#include <QXmlStreamReader>

#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace decoder {

namespace {

constexpr double kInchesPerMetre = 1 / 0.0254;

/// Source: ITU-T T.81, B.2; JFIF 1.02.
Header headerOfJpeg(const FileReader& reader) {
    Header header;
    for (std::uint64_t at = 2;;) {
        const auto introducer = reader.u8(at);
        const auto marker = reader.u8(at + 1);
        if (!marker || *introducer != 0xff)
            return header;
        if (*marker == 0xff) {  // fill byte
            ++at;
            continue;
        }
        const auto length = reader.u16(at + 2);
        if (!length || *length < 2 || *marker == 0xda || *marker == 0xd9)
            return header;
        const QByteArray content = *marker == 0xe0 ? reader.bytes(at + 4, 12) : QByteArray();
        if (content.startsWith(QByteArrayView("JFIF\0", 5))) {
            const ByteReader jfif(content);
            const double unit = jfif.u8(7) == 1 ? 1 : jfif.u8(7) == 2 ? kCentimetresPerInch : 0;
            header.dpiWidth = unit * jfif.u16(8).value_or(0);
            header.dpiHeight = unit * jfif.u16(10).value_or(0);
        }
        const bool frame =
            *marker >= 0xc0 && *marker <= 0xcf && *marker != 0xc4 && *marker != 0xc8 && *marker != 0xcc;
        if (frame) {
            const int components = reader.u8(at + 9).value_or(0);
            header.size = headerSize(reader.u16(at + 7).value_or(0), reader.u16(at + 5).value_or(0));
            header.depth = reader.u8(at + 4);
            header.colorModel = components == 1   ? "Gray"
                                : components == 3 ? "RGB"
                                : components == 4 ? "CMYK"
                                                  : nullptr;
            header.hasAlpha = false;
            return header;
        }
        at += 2U + *length;
    }
}

/// Source: PNG, third edition, 11.2.1, 11.3.1.1 and 11.3.4.3.
Header headerOfPng(const FileReader& reader) {
    Header header;
    header.size = declaredSize(Format::png, reader.bytes(0, kHeadBytes));
    const int colourType = reader.u8(25).value_or(0);
    header.depth = colourType == 3 ? 8 : reader.u8(24).value_or(0);
    header.colorModel = (colourType & 2) != 0 ? "RGB" : "Gray";
    header.hasAlpha = (colourType & 4) != 0;
    for (std::uint64_t at = 8;;) {
        const auto length = reader.u32(at);
        const auto type = reader.part(at + 4, 4);
        if (!length || !type || *type == "IDAT")
            return header;
        if (*type == "tRNS")
            header.hasAlpha = true;
        if (*type == "pHYs" && reader.u8(at + 16) == 1) {
            header.dpiWidth = reader.u32(at + 8).value_or(0) / kInchesPerMetre;
            header.dpiHeight = reader.u32(at + 12).value_or(0) / kInchesPerMetre;
        }
        at += 12 + std::uint64_t(*length);
    }
}

/// Source: GIF 89a, 18 and 23.
Header headerOfGif(const FileReader& reader) {
    constexpr qsizetype kMostBefore = qsizetype{64} * 1024;
    const QByteArray head = reader.bytes(0, kMostBefore);
    const qsizetype control = head.indexOf(QByteArrayView("\x21\xf9\x04"));
    Header header{declaredSize(Format::gif, head), 8, "RGB", false};
    if (control >= 0 && control + 3 < head.size())
        header.hasAlpha = (head[control + 3] & 1) != 0;
    return header;
}

/// A negative height means rows from the top.
Header headerOfBmp(const FileReader& reader) {
    constexpr std::uint32_t kOldestHeader = 12;
    const bool oldest = reader.u32(14) == kOldestHeader;
    Header header;
    header.colorModel = "RGB";
    header.depth = 8;
    header.hasAlpha = reader.u16(28) == 32 && !oldest;
    if (oldest) {
        header.size = headerSize(reader.u16(18).value_or(0), reader.u16(20).value_or(0));
        return header;
    }
    const auto height = static_cast<std::int32_t>(reader.u32(22).value_or(0));
    header.size =
        headerSize(reader.u32(18).value_or(0), static_cast<std::uint64_t>(std::abs(std::int64_t(height))));
    header.depth = reader.u16(28) == 16 ? 5 : 8;
    header.dpiWidth = reader.u32(38).value_or(0) / kInchesPerMetre;
    header.dpiHeight = reader.u32(42).value_or(0) / kInchesPerMetre;
    return header;
}

std::uint32_t u24(const FileReader& reader, std::uint64_t at) {
    return reader.u16(at).value_or(0) | std::uint32_t(reader.u8(at + 2).value_or(0)) << 16;
}

/// Source: WebP container specification; RFC 6386, 9.1; WebP lossless bitstream specification, 3.
Header headerOfWebp(const FileReader& reader) {
    Header header{{}, 8, "RGB", false};
    const QByteArray type = reader.bytes(12, 4);
    if (type == "VP8X") {
        header.size = headerSize(u24(reader, 24) + 1, u24(reader, 27) + 1);
        header.hasAlpha = (reader.u8(20).value_or(0) & 0x10) != 0;
    } else if (type == "VP8L") {
        const std::uint32_t bits = reader.u32(21).value_or(0);
        header.size = headerSize((bits & 0x3fff) + 1, (bits >> 14 & 0x3fff) + 1);
        header.hasAlpha = (bits >> 28 & 1) != 0;
    } else if (type == "VP8 ") {
        header.size = headerSize(reader.u16(26).value_or(0) & 0x3fffU, reader.u16(28).value_or(0) & 0x3fffU);
    }
    return header;
}

/// Source: Adobe Photoshop File Formats Specification, file header.
Header headerOfPsd(const FileReader& reader) {
    Header header;
    header.size = headerSize(reader.u32(18).value_or(0), reader.u32(14).value_or(0));
    const int channels = reader.u16(12).value_or(0);
    const int mode = reader.u16(24).value_or(0);
    header.depth = reader.u16(22);
    header.colorModel = mode == 1                ? "Gray"
                        : mode == 2 || mode == 3 ? "RGB"
                        : mode == 4              ? "CMYK"
                        : mode == 9              ? "Lab"
                                                 : nullptr;
    header.hasAlpha = channels > (mode == 1 || mode == 2 ? 1 : mode == 4 ? 4 : 3);
    return header;
}

/// Source: the netpbm manual pages: numbers after the signature, among blanks and comments.
Header headerOfPortableMap(QByteArrayView file) {
    const char kind = file[1];
    const bool isBitmap = kind == '1' || kind == '4';
    const bool isColoured = kind == '3' || kind == '6';
    std::array<std::uint64_t, 3> numbers{0, 0, 1};  // width, height, largest sample
    qsizetype at = 2;
    const auto current = [&] {
        return at < file.size() ? file[at] : '\0';
    };
    for (std::uint64_t& number : std::span(numbers).first(isBitmap ? 2 : 3)) {
        number = 0;
        for (; current() == '#' || (current() >= '\t' && current() <= ' '); ++at)
            while (current() == '#' && file.indexOf('\n', at) > at)
                at = file.indexOf('\n', at);
        for (; current() >= '0' && current() <= '9' && number <= 0x7fffffff; ++at)
            number = number * 10 + static_cast<std::uint64_t>(current() - '0');
    }
    return {headerSize(numbers[0], numbers[1]),
            isBitmap           ? 1
            : numbers[2] > 255 ? 16
                               : 8,
            isColoured ? "RGB" : "Gray", false};
}

/// Its own size, or that of its coordinates. Source: SVG 1.1, 7.2 and 7.7.
Header headerOfSvg(const QByteArray& head) {
    QXmlStreamReader xml(head);
    if (!xml.readNextStartElement() || xml.name() != u"svg")
        return {};
    const QXmlStreamAttributes attributes = xml.attributes();
    const QString box = attributes.value(QStringLiteral("viewBox")).toString().replace(u',', u' ');
    const QStringList coordinates = box.simplified().split(u' ');
    const auto side = [&](const QString& name, int place) {
        QString text = attributes.value(name).toString().remove(QStringLiteral("px"));
        if (text.isEmpty() || text.endsWith(u'%'))
            text = coordinates.value(place);
        const double length = text.toDouble();
        return length >= 1 && length < 1e6 ? static_cast<std::uint64_t>(std::lround(length)) : 0;
    };
    const QSize size = headerSize(side(QStringLiteral("width"), 2), side(QStringLiteral("height"), 3));
    return {size, 8, "RGB", true};
}

Header headerOfFormat(const FileReader& file) {
    const QByteArray head = file.bytes(0, kHeadBytes);
    const FileReader little = file.in(ByteOrder::little);
    if (head.startsWith("\xff\xd8\xff"))
        return headerOfJpeg(file);
    if (head.startsWith("\x89PNG"))
        return headerOfPng(file);
    if (head.startsWith("GIF8"))
        return headerOfGif(little);
    if (head.startsWith("BM"))
        return headerOfBmp(little);
    if (head.startsWith("RIFF") && head.mid(8, 4) == "WEBP")
        return headerOfWebp(little);
    if (head.startsWith("8BPS"))
        return headerOfPsd(file);
    if (head.startsWith("II") || head.startsWith("MM"))
        return readTiffHeader(head[0] == 'I' ? little : file);
    if (head.mid(4, 4) == "ftyp")
        return readHeifHeader(file);
    if (head.startsWith("\xff\x0a") || head.mid(4, 4) == "JXL ")
        return readJpegXlHeader(file);
    if (little.u32(0) == 0x10000 && little.u8(9) == 0)
        return {iconPictureFor(head, std::numeric_limits<int>::max()).size, 8, "RGB"};  // the largest
    if (head.size() > 2 && head[0] == 'P' && head[1] >= '1' && head[1] <= '6' && head[2] <= ' ')
        return headerOfPortableMap(head);
    return head.contains("<svg") ? headerOfSvg(head) : Header();
}

}  // namespace

QSize headerSize(std::uint64_t width, std::uint64_t height) {
    constexpr std::uint64_t kLargestSide = 0x7fffffff;
    if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide)
        return {};
    return {static_cast<int>(width), static_cast<int>(height)};
}

Header readHeader(const FileReader& file) {
    Header header = headerOfFormat(file);
    return header.size.isEmpty() ? Header() : header;
}

}  // namespace decoder
