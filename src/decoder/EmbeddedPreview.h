// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/Result.h"

namespace decoder {

class InputDevice;

/// The EXIF thumbnail in the first 64 KiB of a JPEG: upright, without the black bars that cameras put around
/// pictures of another shape than 4:3. `noPreview` where there is none, or where its shape is not the
/// picture's, as then it is not a picture of it any more.
Result embeddedPreview(const InputDevice& device);

/// Where in a thumbnail the picture is: all of it, or what is left between black bars; empty when the shapes
/// do not fit together otherwise.
QRect contentOfThumbnail(const QImage& thumbnail, QSize picture);

}  // namespace decoder
