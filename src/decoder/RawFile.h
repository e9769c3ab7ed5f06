// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/FormatDetection.h"

#include <QSize>

#include <cstdint>
#include <optional>
#include <vector>

namespace decoder {

class InputDevice;

/// What is shown of a camera's raw file: the JPEGs that the camera put into it.
struct RawFile {
    struct Preview {
        std::uint64_t offset = 0;  ///< bytes from the start of the file
        std::uint64_t length = 0;
        QSize size;
    };
    std::vector<Preview> previews;
    QSize fullSize;  ///< the largest size found in the file, as stored
    /// EXIF orientation of the previews; where the file has none, the previews carry their own.
    std::optional<int> orientation;

    /// The smallest preview with a side of at least `pixelSize`, or the largest; null without previews.
    const Preview* bestFor(int pixelSize) const;
};

/// Reads the directories of a raw file; nothing when the file is none (a TIFF that is a plain picture).
std::optional<RawFile> readRawFile(const InputDevice& device, Format format);

}  // namespace decoder
