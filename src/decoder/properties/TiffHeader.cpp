// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/Header.h"
#include "decoder/properties/IccProfile.h"

#include <array>

namespace decoder {

namespace {

enum Tag : std::uint16_t {
    imageWidth = 256,
    imageLength = 257,
    bitsPerSample = 258,
    photometric = 262,
    orientation = 274,
    xResolution = 282,
    yResolution = 283,
    resolutionUnit = 296,
    extraSamples = 338,
    iccProfile = 34675,
};

/// The first directory of a TIFF of either kind.
class Directory {
 public:
    static std::optional<Directory> open(const FileReader& file) {
        const bool isBig = file.u16(2) == 43 && file.u16(4) == 8;
        if (!isBig && file.u16(2) != 42)
            return std::nullopt;
        const auto at = isBig ? file.u64(8) : std::optional<std::uint64_t>(file.u32(4));
        return at ? std::optional(Directory(file, isBig, *at)) : std::nullopt;
    }

    /// The first whole number of a tag.
    std::optional<std::uint64_t> number(Tag tag) const {
        const auto place = valuePlace(tag);
        if (!place)
            return std::nullopt;
        switch (place->type) {
            case 1:  // BYTE
                return _file.u8(place->at);
            case 3:  // SHORT
                return _file.u16(place->at);
            case 4:  // LONG
                return _file.u32(place->at);
            case 16:  // LONG8
                return _file.u64(place->at);
            default:
                return std::nullopt;
        }
    }
    /// The first fraction of a tag; 0 where there is none.
    double fraction(Tag tag) const {
        const auto place = valuePlace(tag);
        if (!place || place->type != 5)
            return 0;
        const std::uint32_t under = _file.u32(place->at + 4).value_or(0);
        return under == 0 ? 0 : double(_file.u32(place->at).value_or(0)) / under;
    }
    QByteArray bytes(Tag tag) const {
        constexpr std::uint64_t kMost = 16 << 20;
        const auto place = valuePlace(tag);
        return place ? _file.bytes(place->at, std::min(kMost, place->count)) : QByteArray();
    }

 private:
    struct Place {
        std::uint16_t type;
        std::uint64_t count;
        std::uint64_t at;  ///< of the first value
    };

    Directory(const FileReader& file, bool isBig, std::uint64_t at) : _file(file), _isBig(isBig), _at(at) {}

    std::optional<Place> valuePlace(Tag tag) const {
        constexpr std::uint64_t kMostEntries = 4096;
        constexpr std::array<std::uint64_t, 19> kSizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4,
                                                       8, 4, 8, 4, 0, 0, 8, 8, 8};
        const std::uint64_t count = _isBig ? _file.u64(_at).value_or(0) : _file.u16(_at).value_or(0);
        const std::uint64_t entryBytes = _isBig ? 20 : 12;
        const std::uint64_t room = _isBig ? 8 : 4;  // for values inside the entry
        std::uint64_t entry = _at + (_isBig ? 8 : 2);
        for (std::uint64_t i = 0; i < std::min(count, kMostEntries); ++i, entry += entryBytes) {
            const auto found = _file.u16(entry);
            if (!found)
                return std::nullopt;
            if (*found != tag)
                continue;
            const std::uint16_t type = _file.u16(entry + 2).value_or(0);
            const std::uint64_t values = wide(entry + 4);
            const std::uint64_t inside = entry + 4 + room;
            const std::uint64_t size = type < kSizes.size() ? kSizes[type] : 0;
            const bool isInside = size > 0 && values <= room / size;
            return Place{type, values, isInside ? inside : wide(inside)};
        }
        return std::nullopt;
    }
    std::uint64_t wide(std::uint64_t at) const {
        return _isBig ? _file.u64(at).value_or(0) : _file.u32(at).value_or(0);
    }

    FileReader _file;
    bool _isBig;
    std::uint64_t _at;
};

/// Source: TIFF 6.0, PhotometricInterpretation.
const char* colorModelOf(std::uint64_t number) {
    switch (number) {
        case 0:
        case 1:
            return "Gray";
        case 2:
        case 3:
        case 6:
            return "RGB";
        case 5:
            return "CMYK";
        case 8:
        case 9:
            return "Lab";
        default:
            return nullptr;
    }
}

}  // namespace

Header readTiffHeader(const FileReader& file) {
    const auto directory = Directory::open(file);
    if (!directory)
        return {};
    Header header;
    header.size = headerSize(directory->number(Tag::imageWidth).value_or(0),
                             directory->number(Tag::imageLength).value_or(0));
    if (const auto depth = directory->number(Tag::bitsPerSample))
        header.depth = static_cast<int>(std::min<std::uint64_t>(*depth, 64));
    header.colorModel = colorModelOf(directory->number(Tag::photometric).value_or(~0U));
    if (header.colorModel) {
        const std::uint64_t extra = directory->number(Tag::extraSamples).value_or(0);
        header.hasAlpha = extra == 1 || extra == 2;
    }
    const std::uint64_t unit = directory->number(Tag::resolutionUnit).value_or(2);
    const double factor = unit == 2 ? 1 : unit == 3 ? kCentimetresPerInch : 0;
    header.dpiWidth = factor * directory->fraction(Tag::xResolution);
    header.dpiHeight = factor * directory->fraction(Tag::yResolution);
    if (const auto number = directory->number(Tag::orientation))
        header.orientation = static_cast<int>(std::min<std::uint64_t>(*number, 0xffff));
    header.profileName = profileName(directory->bytes(Tag::iccProfile));
    return header;
}

}  // namespace decoder
