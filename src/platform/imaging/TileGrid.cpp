// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/TileGrid.h"

#include <algorithm>
#include <cmath>

namespace platform {

int TileGrid::levelOf(double scale) {
    constexpr double kRounding = 1e-9;
    constexpr double kSmallest = 20;
    return scale >= 1 ? 0 : int(std::min(std::floor(std::log2(1 / scale) + kRounding), kSmallest));
}

std::vector<TilePlace> TileGrid::tilesIn(const QRectF& part, int level) const {
    const QRect touched = (part & QRectF(QPointF(), QSizeF(_picture))).toAlignedRect();
    std::vector<TilePlace> tiles;
    if (touched.isEmpty())
        return tiles;
    const int side = tileSide << level;
    for (int row = touched.top() / side; row <= touched.bottom() / side; ++row) {
        for (int column = touched.left() / side; column <= touched.right() / side; ++column)
            tiles.push_back({level, column, row});
    }
    const QPointF middle = part.center();
    std::ranges::stable_sort(tiles, {}, [&](const TilePlace& tile) {
        const QPointF distance = QRectF(areaOf(tile)).center() - middle;
        return QPointF::dotProduct(distance, distance);
    });
    return tiles;
}

QRect TileGrid::areaOf(const TilePlace& tile) const {
    const int side = tileSide << tile.level;
    const QPoint at(tile.column * side, tile.row * side);
    return QRect(
        at, QSize(std::min(side, _picture.width() - at.x()), std::min(side, _picture.height() - at.y())));
}

}  // namespace platform
