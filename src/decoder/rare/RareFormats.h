// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/FormatDetection.h"
#include "decoder/Result.h"

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <variant>

/// The rarer formats stand in a module of their own, which only decoders of the rare role load: its libraries
/// would cost the common decoder's start more than all it needs itself.
namespace decoder {

/// A picture as its library gives it: oriented, but neither fitted nor converted to sRGB. `image` may be
/// smaller than `fullSize`.
struct RareImage {
    QImage image;
    QSize fullSize;
};
using RareResult = std::variant<RareImage, Failure>;

/// What the module offers, by its C function `tavlinRareFormats`.
struct RareFormats {
    /// Loads what the libraries would otherwise look for in the file system later. Needs the application
    /// object.
    void (*prepare)();
    /// Decodes a whole file's bytes (of an SVG: unpacked) of a format that isRareFormat(), at a size of at
    /// least `pixelSize` if the picture is that large.
    RareResult (*decode)(const QByteArray& content, Format format, int pixelSize);
};

inline bool isRareFormat(Format format) {
    return format == Format::svg || format == Format::compressedSvg || format == Format::heif ||
           format == Format::jpegXl;
}

/// The module's name beside the executable, and its function's.
inline constexpr const char* kRareModule = "tavlin-rare-formats.so";
inline constexpr const char* kRareFunction = "tavlinRareFormats";
using RareFunction = const RareFormats* (*)();

RareResult decodeSvg(const QByteArray& content, int pixelSize);
RareResult decodeHeif(const QByteArray& content, int pixelSize);
RareResult decodeJpegXl(const QByteArray& content, int pixelSize);

}  // namespace decoder
