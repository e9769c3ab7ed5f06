// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/Header.h"
#include "decoder/properties/IccProfile.h"
#include "decoder/TiffFile.h"

namespace decoder {

namespace {

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
    const auto magic = file.u16(2);
    if (magic != 42 && magic != 43)  // what else is built like a TIFF has no picture of its own there
        return {};
    const auto tiff = TiffFile::open([file](std::uint64_t offset, qsizetype bytes) {
        return file.bytes(offset, static_cast<std::uint64_t>(bytes));
    });
    const auto first = tiff ? tiff->directory(tiff->firstDirectory()) : std::nullopt;
    if (!first)
        return {};
    const auto number = [&](std::uint16_t tag) {
        return tiff->number(*first, tag);
    };
    Header header;
    header.size =
        headerSize(number(tiffTag::kImageWidth).value_or(0), number(tiffTag::kImageLength).value_or(0));
    if (const auto depth = number(tiffTag::kBitsPerSample))
        header.depth = static_cast<int>(std::min<std::uint64_t>(*depth, 64));
    header.colorModel = colorModelOf(number(tiffTag::kPhotometric).value_or(~0U));
    if (header.colorModel) {
        const std::uint64_t extra = number(tiffTag::kExtraSamples).value_or(0);
        header.hasAlpha = extra == 1 || extra == 2;
    }
    const std::uint64_t unit = number(tiffTag::kResolutionUnit).value_or(2);
    const double factor = unit == 2 ? 1 : unit == 3 ? kCentimetresPerInch : 0;
    header.dpiWidth = factor * tiff->fraction(*first, tiffTag::kXResolution);
    header.dpiHeight = factor * tiff->fraction(*first, tiffTag::kYResolution);
    if (const auto orientation = number(tiffTag::kOrientation))
        header.orientation = static_cast<int>(std::min<std::uint64_t>(*orientation, 0xffff));
    constexpr std::uint64_t kLargestProfile = 16 << 20;
    header.profileName = profileName(tiff->bytes(*first, tiffTag::kColorProfile, kLargestProfile));
    return header;
}

}  // namespace decoder
