// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/packing/PackedTexts.h"
#include "decoder/protocol/Protocol.h"

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <variant>

namespace decoder {

/// A decoded picture, as it is sent: upright sRGB, 32 bits a pixel.
struct Picture {
    QImage image;
    QSize fullSize;  ///< upright
    Texts texts;
    int frameCount = 1;
    int delay = 0;  ///< milliseconds until the next frame
    int loops = 0;  ///< how often all frames are shown again, -1 for ever
};

struct Failure {
    Status status = Status::damaged;
    QByteArray message;  ///< UTF-8, cut to the response's room when it is sent
};

/// A picture's metadata, by packProperties().
struct PackedProperties {
    QByteArray bytes;
};

using Result = std::variant<Picture, PackedProperties, Failure>;

/// Above these a picture is refused before any memory is asked for: pixels of a picture that is decoded
/// whole, in bytes; pixels of one that is decoded at a fraction of its size, in number.
inline constexpr qint64 kMaximumPixelBytes = qint64(1) << 30;
inline constexpr qint64 kMaximumPixels = qint64(1) << 30;

}  // namespace decoder
