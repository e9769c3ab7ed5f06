// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/Result.h"

#include <QImage>
#include <QImageIOHandler>
#include <QSize>

namespace decoder {

/// `full` made to fit a square of `pixelSize`, never enlarged, no side below one pixel.
QSize fittedSize(QSize full, int pixelSize);

/// The transformation of an EXIF orientation, 1 to 8; none for any other number.
QImageIOHandler::Transformations transformationOfOrientation(int orientation);

/// The image scaled by a smooth filter, with its profile. The toolkit's own multiplies transparent pixels of
/// 64 bits with their alpha once too often, and picks pixels of indexed ones.
QImage scaledSmoothly(const QImage& image, QSize size);

/// What every loader's image goes through: fitted by a smooth filter, turned upright, converted to sRGB by
/// its colour profile, 32 bits a pixel. `fullSize` is the whole picture's before it is turned; `image` may
/// already be smaller. Too large where there is no memory left for it.
Result finish(QImage image, QSize fullSize, QImageIOHandler::Transformations transformation, int pixelSize);

/// The image turned upright.
QImage upright(const QImage& image, QImageIOHandler::Transformations transformation);

}  // namespace decoder
