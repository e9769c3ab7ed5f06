// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ExifBlock.h"

#include "decoder/ByteReader.h"
#include "decoder/TiffFile.h"

#include <algorithm>

namespace decoder {

namespace {

TiffFile::Source sourceOf(QByteArrayView block) {
    return [block](std::uint64_t offset, qsizetype bytes) {
        const auto all = static_cast<std::uint64_t>(block.size());
        if (offset >= all)
            return QByteArray();
        const auto length = std::min<std::uint64_t>(static_cast<std::uint64_t>(bytes), all - offset);
        return QByteArray::fromRawData(block.data() + offset, static_cast<qsizetype>(length));
    };
}

QSize exifPixelSize(const TiffFile& file, const TiffFile::Directory& first) {
    const auto offset = file.number(first, tiffTag::kExifDirectory);
    const auto exif = offset ? file.directory(*offset) : std::nullopt;
    if (!exif)
        return {};
    const auto width = file.number(*exif, tiffTag::kPixelXDimension).value_or(0);
    const auto height = file.number(*exif, tiffTag::kPixelYDimension).value_or(0);
    constexpr std::uint32_t kLargest = 1 << 20;
    return width > 0 && height > 0 && width <= kLargest && height <= kLargest
               ? QSize(static_cast<int>(width), static_cast<int>(height))
               : QSize();
}

bool isFrameHeader(std::uint8_t marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

}  // namespace

ExifBlock readExifBlock(QByteArrayView block) {
    ExifBlock result;
    const auto file = TiffFile::open(sourceOf(block));
    const auto first = file ? file->directory(file->firstDirectory()) : std::nullopt;
    if (!first)
        return result;
    const auto orientation = file->number(*first, tiffTag::kOrientation).value_or(1);
    if (orientation >= 1 && orientation <= 8)
        result.orientation = static_cast<int>(orientation);
    result.pixelSize = exifPixelSize(*file, *first);
    if (const auto second = first->next ? file->directory(first->next) : std::nullopt) {
        const auto offset = file->number(*second, tiffTag::kJpegOffset);
        const auto length = file->number(*second, tiffTag::kJpegLength);
        if (offset && length)
            result.thumbnail = ByteReader(block).part(*offset, *length).value_or(QByteArrayView());
    }
    return result;
}

JpegHead readJpegHead(QByteArrayView bytes) {
    const ByteReader reader(bytes);
    JpegHead head;
    std::uint64_t at = 2;
    while (true) {
        const auto introducer = reader.u8(at);
        const auto marker = reader.u8(at + 1);
        if (!marker || *introducer != 0xff)
            return head;
        if (*marker == 0xff) {  // fill byte
            ++at;
            continue;
        }
        const auto length = reader.u16(at + 2);
        if (!length || *length < 2 || *marker == 0xda || *marker == 0xd9)
            return head;
        if (isFrameHeader(*marker)) {
            if (const auto width = reader.u16(at + 7))
                head.size = QSize(*width, *reader.u16(at + 5));
            head.isLossless = *marker == 0xc3 || *marker >= 0xc5;
            return head;
        }
        const auto content = reader.part(at + 4, *length - 2U);
        if (*marker == 0xe1 && content && content->startsWith("Exif") && content->size() > 6 &&
            head.exif.isEmpty())
            head.exif = content->sliced(6);
        at += 2U + *length;
    }
}

}  // namespace decoder
