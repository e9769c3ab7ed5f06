// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/PictureCanvas.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

constexpr double pixelsCountFrom = 2;  // the scale at which a picture's pixels show as squares
constexpr int coarserLevels = 3;       // whose tiles stand in for missing ones

/// Two squares by two of the checkerboard.
QPixmap checkers(int side) {
    QPixmap pixmap(2 * side, 2 * side);
    pixmap.fill(QColor(0xff, 0xff, 0xff));
    QPainter painter(&pixmap);
    painter.fillRect(0, 0, side, side, QColor(0xdd, 0xdd, 0xdd));
    painter.fillRect(side, side, side, side, QColor(0xdd, 0xdd, 0xdd));
    return pixmap;
}

}  // namespace

const QPixmap& PictureCanvas::composed(const Frame& frame) {
    move(frame);
    if (!_missing.isEmpty()) {
        QPainter painter(&_pixmap);
        for (const QRect& exposed : _missing)
            compose(painter, frame, exposed);
        _missing = QRegion();
    }
    return _pixmap;
}

void PictureCanvas::discard(const QRect& part) {
    const QRectF shown(_pictureRect.topLeft() + QPointF(part.topLeft()) * _scale,
                       QSizeF(part.size()) * _scale);
    _missing += shown.toAlignedRect() & _pixmap.rect();
}

/// Makes the canvas show the frame's place: what was composed at the same scale and in the same colours is
/// kept.
void PictureCanvas::move(const Frame& frame) {
    const QRectF target = frame.geometry.pictureRect();
    const double scale = frame.geometry.scale();
    const QPointF distance = target.topLeft() - _pictureRect.topLeft();
    const bool isWhole = distance == distance.toPoint();
    const bool looksSame = frame.background == _background && frame.checkerSide == _checkerSide;
    _background = frame.background;
    _checkerSide = frame.checkerSide;
    if (_pixmap.size() != frame.geometry.viewSize())
        _pixmap = QPixmap(frame.geometry.viewSize());
    else if (looksSame && scale == _scale && target.size() == _pictureRect.size() && isWhole) {
        if (!distance.isNull()) {
            const QPoint by = distance.toPoint();
            _missing.translate(by);
            QRegion exposed;
            _pixmap.scroll(by.x(), by.y(), _pixmap.rect(), &exposed);
            _missing = (_missing + exposed) & _pixmap.rect();
            _pictureRect = target;
        }
        return;
    }
    _missing = _pixmap.rect();
    _pictureRect = target;
    _scale = scale;
}

void PictureCanvas::compose(QPainter& painter, const Frame& frame, const QRect& exposed) {
    _composedPixels += qint64(exposed.width()) * exposed.height();
    painter.setClipRect(exposed);
    painter.fillRect(exposed, frame.background);
    if (frame.whole.isNull())
        return;
    const QRectF whole(QPointF(), QSizeF(frame.geometry.pictureSize()));
    std::vector<std::pair<TilePlace, QImage>> tiles;
    bool isComplete = false;
    if (frame.tiles) {
        const QRectF part((QPointF(exposed.topLeft()) - _pictureRect.topLeft()) / _scale,
                          QSizeF(exposed.size()) / _scale);
        const auto collect = [&](int level) {
            const auto places = frame.tiles->grid().tilesIn(part, level);
            for (const TilePlace& place : places) {
                if (const QImage tile = frame.tiles->tile(place); !tile.isNull())
                    tiles.emplace_back(place, tile);
            }
            return !places.empty() && tiles.size() == places.size();
        };
        isComplete = collect(frame.level);
        for (int level = frame.level + 1; !isComplete && level <= frame.level + coarserLevels; ++level)
            collect(level);
    }
    if (!isComplete)
        draw(painter, frame, frame.whole, whole, exposed);
    for (auto tile = tiles.crbegin(); tile != tiles.crend(); ++tile)
        draw(painter, frame, tile->second, frame.tiles->grid().areaOf(tile->first), exposed);
}

/// Draws what is exposed of an image that shows `area` of the picture.
void PictureCanvas::draw(QPainter& painter, const Frame& frame, const QImage& image, const QRectF& area,
                         const QRect& exposed) {
    const QRectF target(_pictureRect.topLeft() + area.topLeft() * _scale, area.size() * _scale);
    const bool isExact =
        std::abs(target.width() - image.width()) < 1 && std::abs(target.height() - image.height()) < 1;
    const QRectF shown = target & QRectF(exposed);
    if (shown.isEmpty())
        return;
    if (image.hasAlphaChannel()) {
        if (_checkers.width() != 2 * frame.checkerSide)
            _checkers = checkers(frame.checkerSide);
        painter.drawTiledPixmap(shown, _checkers, shown.topLeft() - _pictureRect.topLeft());
    }
    if (isExact) {
        painter.drawImage(target.topLeft().toPoint(), image);
        return;
    }
    const bool pixelsCount = _scale >= pixelsCountFrom && image.width() >= area.width();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !pixelsCount);
    // Some pixels more than are exposed, so that the filter finds at their edge what it would find beyond.
    const QRectF drawn = target & QRectF(exposed.adjusted(-64, -64, 64, 64));
    const double x = image.width() / target.width();
    const double y = image.height() / target.height();
    painter.drawImage(drawn, image,
                      QRectF((drawn.left() - target.left()) * x, (drawn.top() - target.top()) * y,
                             drawn.width() * x, drawn.height() * y));
}

}  // namespace platform
