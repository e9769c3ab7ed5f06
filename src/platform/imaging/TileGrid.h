// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRect>
#include <QSize>

#include <vector>

namespace platform {

/// One tile of a picture: of a level, of which each has half the sides of the one before.
struct TilePlace {
    int level = 0;
    int column = 0;
    int row = 0;
    bool operator==(const TilePlace&) const = default;
};

/// How a picture is divided into tiles. Rectangles are in pixels of the whole picture. A value.
class TileGrid {
 public:
    static constexpr int tileSide = 512;  ///< pixels of the level

    explicit TileGrid(QSize picture) : _picture(picture) {}

    QSize pictureSize() const { return _picture; }
    /// The level to show at a scale (device pixels for a pixel of the picture): the smallest that has a pixel
    /// for each of the device's.
    static int levelOf(double scale);
    /// Those that `part` touches, the ones nearest to its middle first.
    std::vector<TilePlace> tilesIn(const QRectF& part, int level) const;
    /// The rectangle that a tile shows.
    QRect areaOf(const TilePlace& tile) const;

 private:
    QSize _picture;
};

}  // namespace platform
