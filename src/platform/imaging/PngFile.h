// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QImage>

#include <utility>
#include <vector>

namespace platform {

/// A key of 1 to 79 Latin-1 characters and its value in Latin-1, without NUL.
using PngText = std::pair<QByteArray, QByteArray>;

/// The bytes of a PNG (8 bits a channel, not interlaced, with alpha where the image has it, sRGB), with
/// `texts` as plain tEXt chunks before the pixels; empty for a null image.
///
/// Against the toolkit's writer at its quality 80: a third of the time and a tenth smaller for photographs,
/// as neighbours' differences gain next to nothing from looking for repetitions. And the toolkit compresses
/// longer texts, while not every reader of shared thumbnails looks into zTXt.
QByteArray pngWithTexts(const QImage& image, const std::vector<PngText>& texts);

}  // namespace platform
