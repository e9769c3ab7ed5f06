// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/GridPictures.h"

#include <QFont>
#include <QPalette>
#include <QPixmap>
#include <QRect>
#include <QStringList>

class QPainter;

namespace platform {

/// All that one cell's look depends on. Rectangles are the viewport's.
struct GridCell {
    QRect frame;
    QRect thumbnail;  ///< the square
    QRect title;
    QStringList titleLines;
    CellPicture picture;
    double presence = 1;  ///< 0 to 1: how far the picture has faded in
    bool isSelected = false;
    bool isCurrent = false;
    bool isHovered = false;
};

/// What all cells share.
struct GridLook {
    QPalette palette;
    QPalette::ColorGroup group = QPalette::Active;
    QFont font;
    int lineHeight = 0;
    qreal devicePixelRatio = 1;
    bool isShadowed = true;
    bool showsFocus = false;
};

/// Draws cells: a selection's plate, the thumbnail with its soft shadow, the title. Every colour comes of the
/// palette. Shadows are drawn once per screen ratio and then put together of nine pieces. Main thread only.
class GridCellPainter {
 public:
    void setLook(const GridLook& look) { _look = look; }
    void paint(QPainter& painter, const GridCell& cell);

    /// Where a picture of the cell stands: centred in the square, on whole device pixels.
    static QRectF pictureRect(const QRect& square, const CellPicture& picture, qreal devicePixelRatio);

 private:
    void paintPlate(QPainter& painter, const GridCell& cell) const;
    void paintPicture(QPainter& painter, const GridCell& cell);
    void paintPlaceholder(QPainter& painter, const QRect& square) const;
    void paintBroken(QPainter& painter, const QRect& square) const;
    void paintShadow(QPainter& painter, const QRectF& picture);
    void paintTitle(QPainter& painter, const GridCell& cell) const;
    QColor color(QPalette::ColorRole role) const { return _look.palette.color(_look.group, role); }
    QColor tint(double strength) const;
    bool isDark() const;

    GridLook _look;
    QPixmap _shadow;
    qreal _shadowRatio = 0;
};

}  // namespace platform
