// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/DecodeThreads.h"
#include "platform/views/PictureGeometry.h"

#include <QImage>
#include <QWidget>

#include <memory>

class QTimer;

namespace platform {

/// Shows one picture: fitted at first; the wheel, + and - zoom, a double click and the space key change
/// between the whole picture and its exact pixels, a drag and the arrow keys move it. The pixels come from
/// decoders, a coarse picture first, then as many as the view shows, all of them when it is zoomed (of a very
/// large file as many as a decoder serves). See-through parts show a checkerboard, a file that is no picture
/// a broken one with the reason as its tool tip. Main thread only; never waits.
class ImageView : public QWidget {
    Q_OBJECT

 public:
    explicit ImageView(QWidget* parent = nullptr);
    ~ImageView() override;

    /// Forgets the picture and asks for that of this file.
    void setImageWithPath(const QString& path);

    const PictureGeometry& pictureGeometry() const { return _geometry; }
    /// The pixels at hand, as large as they have come; null before the first.
    QImage image() const { return _exact.isNull() ? _fitted : _exact; }
    bool isBroken() const { return _isBroken; }

    /// What a screen reader says of a file that cannot be shown.
    void setBrokenText(const QString& text) { _brokenText = text; }

 protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

 private:
    enum class Step { preview, fitted, exact };

    QPointF devicePoint(QPointF point) const;
    QPointF middle() const;
    int neededSide() const;
    void ask(Step step);
    void askForMore();
    void take(Step step);
    void use(Step step, const DecodedPicture& picture);
    void geometryChanged();
    void paintBroken(QPainter& painter) const;

    PictureGeometry _geometry;
    QString _path;
    QString _brokenText;
    QImage _fitted;          ///< for the whole view; a coarse one at first
    QImage _exact;           ///< all pixels, or as many as are served
    int _fittedSide = 0;     ///< device pixels that _fitted was asked for with
    bool _hasExact = false;  ///< there is no more to ask for
    bool _isBroken = false;
    std::unique_ptr<DecodeTask> _task;
    QTimer* _resizePause;  ///< a view that is being resized asks once it rests
    QPointF _dragPoint;
};

}  // namespace platform
