// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/PictureAnimation.h"
#include "platform/views/PictureCanvas.h"

#include <QImage>
#include <QWidget>

#include <memory>

class QTimer;

namespace platform {

/// Shows one picture: fitted at first; the wheel, a pinch, + and - zoom, a double click and the space key
/// change between the whole picture and its exact pixels, a drag and the arrow keys move it. The pixels come
/// from decoders: a coarse picture first, then one as large as the view, and tiles of the zoom's level where
/// it shows more than that. See-through parts show a checkerboard, a file that is no picture a broken one
/// with the reason as its tool tip. An animation runs while it can be seen. Main thread only; never waits.
class ImageView : public QWidget {
    Q_OBJECT

 public:
    explicit ImageView(QWidget* parent = nullptr);
    ~ImageView() override;

    /// Forgets the picture and asks for that of this file.
    void setImageWithPath(const QString& path);

    const PictureGeometry& pictureGeometry() const { return _geometry; }
    /// The whole picture, as large as it has come, or the frame shown; null before the first.
    QImage image() const { return _whole; }
    /// The tiles upon it; null where the whole has all pixels that are shown.
    const PictureTiles* tiles() const { return _tiles.get(); }
    /// Null for a picture that stands still.
    const PictureAnimation* animation() const { return _animation.get(); }
    const PictureCanvas& canvas() const { return _canvas; }
    bool isBroken() const { return _isBroken; }

    void zoomIn();
    void zoomOut();
    void zoomToFit();
    void zoomToActualSize();

    /// What a screen reader says of a file that cannot be shown.
    void setBrokenText(const QString& text) { _brokenText = text; }

 protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;

 private:
    enum class Step { preview, fitted };

    QPointF devicePoint(QPointF point) const;
    QPointF middle() const;
    int neededSide() const;
    void ask(Step step);
    void askForMore();
    void askForTiles();
    void tileCame(const TilePlace& place);
    void take(Step step);
    void use(const DecodedPicture& picture);
    void animate(const DecodedPicture& picture);
    void showFrame();
    void pinch(double factor, QPointF place);
    void followScreen();
    void geometryChanged();
    void paintBroken(QPainter& painter) const;

    PictureGeometry _geometry;
    QString _path;
    QString _brokenText;
    QImage _whole;       ///< for the whole view; a coarse one at first
    int _wholeSide = 0;  ///< device pixels that _whole was asked for with
    bool _hasWhole = false;
    std::unique_ptr<PictureTiles> _tiles;
    std::unique_ptr<PictureAnimation> _animation;
    PictureCanvas _canvas;
    bool _isBroken = false;
    std::unique_ptr<DecodeTask> _task;
    QTimer* _resizePause;  ///< a view that is being resized asks once it rests
    QPointF _dragPoint;
};

}  // namespace platform
