// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/ByteReader.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace decoder {

/// The directories of a TIFF, and of what is built like one: EXIF blocks, most raw files, maker notes. Reads
/// no more than the directories asked for; every offset and count is untrusted, and what lies outside is
/// nothing. Source: TIFF 6.0; EXIF 2.32.
class TiffFile {
 public:
    /// The bytes from an offset on, fewer at the end.
    using Source = std::function<QByteArray(std::uint64_t offset, qsizetype bytes)>;

    struct Entry {
        std::uint16_t tag = 0;
        std::uint16_t type = 0;
        std::uint32_t count = 0;
        std::uint64_t valueOffset = 0;  ///< of the value's first byte, from the start of the source
    };
    struct Directory {
        std::vector<Entry> entries;
        std::uint32_t next = 0;  ///< offset of the next one in the chain, 0 at its end

        const Entry* find(std::uint16_t tag) const;
    };

    /// Nothing when the source does not start as a TIFF does, or as one of the raw formats that differ from
    /// it in the number after the byte order only.
    static std::optional<TiffFile> open(Source source);
    /// Directories with offsets from the start of `source`, which has no header of its own.
    TiffFile(Source source, ByteOrder order, std::uint32_t firstDirectory);

    std::uint32_t firstDirectory() const { return _firstDirectory; }
    ByteOrder order() const { return _order; }
    std::optional<Directory> directory(std::uint64_t offset) const;
    /// Up to `maximum` values of an integer entry (BYTE, SHORT, LONG, IFD); empty for other types.
    std::vector<std::uint32_t> numbers(const Entry& entry, std::size_t maximum) const;
    /// The first value of the entry with this tag.
    std::optional<std::uint32_t> number(const Directory& directory, std::uint16_t tag) const;

 private:
    Source _source;
    ByteOrder _order;
    std::uint32_t _firstDirectory;
};

namespace tiffTag {
inline constexpr std::uint16_t kImageWidth = 0x100;
inline constexpr std::uint16_t kImageLength = 0x101;
inline constexpr std::uint16_t kCompression = 0x103;
inline constexpr std::uint16_t kPhotometric = 0x106;
inline constexpr std::uint16_t kStripOffsets = 0x111;
inline constexpr std::uint16_t kOrientation = 0x112;
inline constexpr std::uint16_t kStripByteCounts = 0x117;
inline constexpr std::uint16_t kSubDirectories = 0x14a;
inline constexpr std::uint16_t kJpegOffset = 0x201;
inline constexpr std::uint16_t kJpegLength = 0x202;
inline constexpr std::uint16_t kExifDirectory = 0x8769;
inline constexpr std::uint16_t kMakerNote = 0x927c;
inline constexpr std::uint16_t kPixelXDimension = 0xa002;
inline constexpr std::uint16_t kPixelYDimension = 0xa003;
inline constexpr std::uint16_t kDngVersion = 0xc612;
}  // namespace tiffTag

}  // namespace decoder
