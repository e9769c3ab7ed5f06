// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/PictureTiles.h"
#include "platform/views/PictureGeometry.h"

#include <QImage>
#include <QPixmap>
#include <QRegion>

class QPainter;

namespace platform {

/// A view's pixels: the picture composed of a coarse whole and the tiles that lie upon it. What has been
/// composed stays, and moves along while the picture is panned, so that a frame costs what is new in it. All
/// lengths are device pixels. Main thread only.
class PictureCanvas {
 public:
    /// What a frame is made of.
    struct Frame {
        const PictureGeometry& geometry;
        QImage whole;                   ///< the coarse picture, of any size
        PictureTiles* tiles = nullptr;  ///< none where the whole has all pixels that are needed
        int level = 0;
        QColor background;
        int checkerSide = 8;  ///< of the board that shows through what is transparent
    };

    /// Composes what is missing of the frame and answers all of it, as large as the view.
    const QPixmap& composed(const Frame& frame);
    /// Composes everything anew with the next frame.
    void discard() { _pixmap = QPixmap(); }
    /// Composes this part of the picture (in its pixels) anew.
    void discard(const QRect& part);

    /// Pixels composed so far: what panning costs.
    qint64 composedPixels() const { return _composedPixels; }

 private:
    void move(const Frame& frame);
    void compose(QPainter& painter, const Frame& frame, const QRect& exposed);
    void draw(QPainter& painter, const Frame& frame, const QImage& image, const QRectF& area,
              const QRect& exposed);

    QPixmap _pixmap;
    QPixmap _checkers;
    QRegion _missing;
    QColor _background;
    int _checkerSide = 0;
    QRectF _pictureRect;
    double _scale = 0;
    qint64 _composedPixels = 0;
};

}  // namespace platform
