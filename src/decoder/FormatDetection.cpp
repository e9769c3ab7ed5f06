// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FormatDetection.h"

#include "decoder/ByteReader.h"
#include "decoder/Inflate.h"

#include <QByteArray>

#include <algorithm>
#include <array>

namespace decoder {

namespace {

struct Signature {
    Format format;
    qsizetype offset;
    QByteArrayView bytes;
};

// Sources: each format's own specification; the raw ones: libraw's and Exiv2's lists of signatures.
constexpr std::array kSignatures{
    Signature{Format::jpeg, 0, "\xff\xd8\xff"},
    Signature{Format::png, 0, "\x89PNG\r\n\x1a\n"},
    Signature{Format::gif, 0, "GIF87a"},
    Signature{Format::gif, 0, "GIF89a"},
    Signature{Format::webp, 8, "WEBPVP8"},
    Signature{Format::tiff, 0, QByteArrayView("II*\0", 4)},
    Signature{Format::tiff, 0, QByteArrayView("MM\0*", 4)},
    Signature{Format::tiff, 0, QByteArrayView("II+\0\x08\0\0\0", 8)},
    Signature{Format::tiff, 0, QByteArrayView("MM\0+\0\x08\0\0", 8)},
    Signature{Format::jpegXl, 0, "\xff\x0a"},
    Signature{Format::jpegXl, 0, QByteArrayView("\0\0\0\x0cJXL \r\n\x87\n", 12)},
    Signature{Format::fujiRaw, 0, "FUJIFILMCCD-RAW "},
    Signature{Format::panasonicRaw, 0, QByteArrayView("IIU\0", 4)},
    Signature{Format::olympusRaw, 0, "IIRO"},
    Signature{Format::olympusRaw, 0, "IIRS"},
    Signature{Format::olympusRaw, 0, "MMOR"},
};

bool isBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// A brand of an ISO base media file that starts with "ftyp" (ISO/IEC 14496-12, 23008-12; AV1 image format).
Format formatOfBrands(QByteArrayView head) {
    const ByteReader reader(head);
    const auto length = reader.u32(0);
    if (!length || head.size() < 12 || head.sliced(4, 4) != QByteArrayView("ftyp"))
        return Format::unknown;
    if (head.sliced(8, 4) == QByteArrayView("crx "))
        return Format::canonRaw3;
    constexpr std::array<QByteArrayView, 9> kPictures{"heic", "heix", "heim", "heis", "hevc",
                                                      "hevx", "avif", "avis", "mif1"};
    const auto isPicture = [&](QByteArrayView brand) {
        return std::ranges::find(kPictures, brand) != kPictures.end();
    };
    const auto end = std::min<qsizetype>(head.size(), *length);
    if (isPicture(head.sliced(8, 4)))
        return Format::heif;
    for (qsizetype offset = 16; offset + 4 <= end; offset += 4) {
        if (isPicture(head.sliced(offset, 4)))
            return Format::heif;
    }
    return Format::unknown;
}

/// "P1" to "P6", a blank or comment, and a number.
bool isPortableMap(QByteArrayView head) {
    if (head.size() < 4 || head[0] != 'P' || head[1] < '1' || head[1] > '6' || !isBlank(head[2]))
        return false;
    const auto* next = std::find_if_not(head.begin() + 2, head.end(), isBlank);
    return next != head.end() && (*next == '#' || (*next >= '0' && *next <= '9'));
}

/// "BM" is short, so that the information header's length is looked at too.
bool isBitmap(QByteArrayView head) {
    const auto informationLength = ByteReader(head, ByteOrder::little).u32(14);
    constexpr std::array<std::uint32_t, 7> kLengths{12, 40, 52, 56, 64, 108, 124};
    return head.startsWith("BM") && informationLength &&
           std::ranges::find(kLengths, *informationLength) != kLengths.end();
}

bool isIcon(QByteArrayView head) {
    const ByteReader reader(head, ByteOrder::little);
    const auto reserved = reader.u16(0);
    const auto type = reader.u16(2);
    const auto count = reader.u16(4);
    const auto entryReserved = reader.u8(9);
    return count && *reserved == 0 && (*type == 1 || *type == 2) && *count >= 1 && *count <= 256 &&
           entryReserved && *entryReserved == 0;
}

/// A document whose first element is svg, after any prologue of comments, declarations and instructions.
bool isSvg(QByteArrayView head) {
    if (head.startsWith("\xef\xbb\xbf"))
        head = head.sliced(3);
    const auto* start = std::find_if_not(head.begin(), head.end(), isBlank);
    const QByteArrayView text = head.sliced(start - head.begin());
    if (!text.startsWith('<'))
        return false;
    for (qsizetype at = text.indexOf("<svg"); at >= 0; at = text.indexOf("<svg", at + 1)) {
        if (at + 4 < text.size() && (isBlank(text[at + 4]) || text[at + 4] == '>'))
            return at == 0 || text.startsWith("<?xml") || text.startsWith("<!");
    }
    return false;
}

}  // namespace

Format detectFormat(QByteArrayView head) {
    for (const Signature& signature : kSignatures) {
        const auto place = ByteReader(head).part(static_cast<std::uint64_t>(signature.offset),
                                                 static_cast<std::uint64_t>(signature.bytes.size()));
        if (place && *place == signature.bytes &&
            (signature.format != Format::webp || head.startsWith("RIFF")))
            return signature.format;
    }
    if (isBitmap(head))
        return Format::bmp;
    if (isIcon(head))
        return Format::ico;
    if (isPortableMap(head))
        return Format::portableMap;
    if (isSvg(head))
        return Format::svg;
    if (head.startsWith("\x1f\x8b\x08") && isSvg(inflateStart(head, kHeadBytes)))
        return Format::compressedSvg;
    return formatOfBrands(head);
}

}  // namespace decoder
