// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/protocol/Protocol.h"
#include "decoder/Result.h"

#include <QImage>
#include <QImageIOHandler>
#include <QRect>

namespace decoder {

class InputDevice;

inline QSize sizeAtLevel(QSize size, int level) {
    return {sideAtLevel(size.width(), level), sideAtLevel(size.height(), level)};
}

/// A picture file from which rectangles can be read at levels: level 0 is the picture itself, each further
/// one has half the sides of the one before, rounded up. Owned by a RegionKeeper, which hands over the
/// device for each reading anew, as nothing keeps the file open in between. Coordinates are those of the
/// stored picture, before it is turned upright.
class RegionSource {
 public:
    virtual ~RegionSource() = default;

    virtual QSize size() const = 0;
    /// What turns the stored picture upright.
    virtual QImageIOHandler::Transformations transformation() const = 0;

    /// `region`, in pixels of the level and within it, with its colour profile. `interest` holds it, and what
    /// will be read soon. A null image where the file is damaged there.
    virtual QImage read(InputDevice& device, int level, const QRect& region, const QRect& interest) = 0;
    /// Whether the level costs a bounded amount of work for each region.
    virtual bool hasLevel(int) const { return true; }

    /// Bytes that are kept for further regions.
    virtual qsizetype keptBytes() const = 0;
};

}  // namespace decoder
