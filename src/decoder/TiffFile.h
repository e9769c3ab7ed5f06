// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/ByteReader.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace decoder {

/// The directories of a TIFF, of 32 or 64 bits, and of what is built like one: EXIF blocks, most raw files,
/// maker notes. Reads no more than the directories asked for; every offset and count is untrusted, and what
/// lies outside is nothing. Source: TIFF 6.0; EXIF 2.32; the BigTIFF design by the library's authors.
class TiffFile {
 public:
    /// The bytes from an offset on, fewer at the end.
    using Source = std::function<QByteArray(std::uint64_t offset, qsizetype bytes)>;

    struct Entry {
        std::uint16_t tag = 0;
        std::uint16_t type = 0;
        std::uint64_t count = 0;
        std::uint64_t valueOffset = 0;  ///< of the value's first byte, from the start of the source
    };
    struct Directory {
        std::vector<Entry> entries;
        std::uint64_t next = 0;  ///< offset of the next one in the chain, 0 at its end

        const Entry* find(std::uint16_t tag) const;
    };

    /// Nothing when the source does not start as a TIFF does, or as one of the raw formats that differ from
    /// it in the number after the byte order only.
    static std::optional<TiffFile> open(Source source);
    /// Directories with offsets from the start of `source`, which has no header of its own.
    TiffFile(Source source, ByteOrder order, std::uint64_t firstDirectory)
        : TiffFile(std::move(source), order, firstDirectory, kClassic) {}

    std::uint64_t firstDirectory() const { return _firstDirectory; }
    ByteOrder order() const { return _order; }
    std::optional<Directory> directory(std::uint64_t offset) const;
    /// Up to `maximum` values of an unsigned integer entry; empty for other types.
    std::vector<std::uint64_t> numbers(const Entry& entry, std::size_t maximum) const;
    /// The first value of the entry with this tag.
    std::optional<std::uint64_t> number(const Directory& directory, std::uint16_t tag) const;
    /// The first value of the RATIONAL entry with this tag; 0 without one.
    double fraction(const Directory& directory, std::uint16_t tag) const;
    /// The bytes of the entry with this tag, at most `maximum`.
    QByteArray bytes(const Directory& directory, std::uint16_t tag, std::uint64_t maximum) const;

 private:
    /// Bytes of a directory's count, of an entry, and of the value or offset in it.
    struct Layout {
        std::uint64_t count, entry, value;
    };
    static constexpr Layout kClassic{2, 12, 4};
    static constexpr Layout kBig{8, 20, 8};

    TiffFile(Source source, ByteOrder order, std::uint64_t firstDirectory, const Layout& layout)
        : _source(std::move(source)), _order(order), _firstDirectory(firstDirectory), _layout(layout) {}

    Source _source;
    ByteOrder _order;
    std::uint64_t _firstDirectory;
    Layout _layout;
};

namespace tiffTag {
inline constexpr std::uint16_t kImageWidth = 0x100;
inline constexpr std::uint16_t kImageLength = 0x101;
inline constexpr std::uint16_t kBitsPerSample = 0x102;
inline constexpr std::uint16_t kCompression = 0x103;
inline constexpr std::uint16_t kPhotometric = 0x106;
inline constexpr std::uint16_t kStripOffsets = 0x111;
inline constexpr std::uint16_t kOrientation = 0x112;
inline constexpr std::uint16_t kStripByteCounts = 0x117;
inline constexpr std::uint16_t kXResolution = 0x11a;
inline constexpr std::uint16_t kYResolution = 0x11b;
inline constexpr std::uint16_t kResolutionUnit = 0x128;
inline constexpr std::uint16_t kSubDirectories = 0x14a;
inline constexpr std::uint16_t kExtraSamples = 0x152;
inline constexpr std::uint16_t kJpegOffset = 0x201;
inline constexpr std::uint16_t kJpegLength = 0x202;
inline constexpr std::uint16_t kColorProfile = 0x8773;
inline constexpr std::uint16_t kExifDirectory = 0x8769;
inline constexpr std::uint16_t kMakerNote = 0x927c;
inline constexpr std::uint16_t kPixelXDimension = 0xa002;
inline constexpr std::uint16_t kPixelYDimension = 0xa003;
inline constexpr std::uint16_t kDngVersion = 0xc612;
}  // namespace tiffTag

}  // namespace decoder
