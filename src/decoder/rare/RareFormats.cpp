// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/rare/RareFormats.h"

#include "decoder/rare/Fonts.h"

#include <new>

namespace decoder {

namespace {

/// Draws a letter as well, so that all that this takes is loaded.
void prepare() {
    loadFonts();
    decodeSvg(QByteArrayLiteral("<svg xmlns='http://www.w3.org/2000/svg' width='16' height='16'>"
                                "<text y='9' font-family='sans-serif'>a</text></svg>"),
              16);
}

RareResult decodeRare(const QByteArray& content, Format format, int pixelSize) {
    try {
        switch (format) {
            case Format::svg:
            case Format::compressedSvg:
                return decodeSvg(content, pixelSize);
            case Format::heif:
                return decodeHeif(content, pixelSize);
            case Format::jpegXl:
                return decodeJpegXl(content, pixelSize);
            default:
                return Failure{Status::notImage, {}};
        }
    } catch (const std::bad_alloc&) {
        return Failure{Status::tooLarge, {}};
    }
}

constexpr RareFormats kFormats{prepare, decodeRare};

}  // namespace

}  // namespace decoder

extern "C" __attribute__((visibility("default"))) const decoder::RareFormats* tavlinRareFormats() {
    return &decoder::kFormats;
}
