// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/FormatDetection.h"

#include <QByteArray>

namespace decoder {

class InputDevice;

/// What the toolkit's loaders do not look at in the chunks of a PNG or WebP.
struct ContainerChunks {
    QByteArray exif;              ///< the EXIF block, from its TIFF header on; empty where there is none
    bool hasClearColour = false;  ///< in a PNG: a colour, or some, stand for clearness
    /// A chunk other than pixels claims to reach beyond the file's end: a loader would ask for that much
    /// memory.
    bool areCut = false;
};

/// Follows the first chunks; nothing is found in other formats.
/// Sources: PNG, third edition, 5.3 and 11.3.3.7; WebP container specification.
ContainerChunks readContainerChunks(const InputDevice& device, Format format);

}  // namespace decoder
