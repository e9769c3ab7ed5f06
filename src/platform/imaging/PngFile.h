// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QImage>

#include <utility>
#include <vector>

namespace platform {

/// A key of 1 to 79 Latin-1 characters and its value in Latin-1, without NUL.
using PngText = std::pair<QByteArray, QByteArray>;

/// The bytes of a PNG, quick rather than small, with `texts` as plain tEXt chunks before the pixels; empty
/// when the image cannot be written. (The toolkit compresses longer texts, and not every reader of shared
/// thumbnails looks into zTXt.)
QByteArray pngWithTexts(const QImage& image, const std::vector<PngText>& texts);

}  // namespace platform
