// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridCellPainter.h"

#include "platform/views/PaneFocus.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>

namespace platform {

namespace {

constexpr double plateRadius = 7;
constexpr double shadowDeviation = 3;  // of the Gaussian, logical pixels
constexpr int shadowReach = 8;         // beyond the picture's edge
constexpr int shadowDrop = 2;          // how far it lies below
constexpr double shadowStrength = 0.42;

/// What shows through a transparent picture: squares of 8 points, light as paper.
QBrush checkerboard() {
    constexpr int side = 8;
    QImage tile(2 * side, 2 * side, QImage::Format_RGB32);
    tile.fill(QColor(255, 255, 255));
    QPainter painter(&tile);
    painter.fillRect(0, 0, side, side, QColor(228, 228, 228));
    painter.fillRect(side, side, side, side, QColor(228, 228, 228));
    return QBrush(tile);
}

/// The shadow of a square, a Gaussian blur of it in closed form (the product of two error functions), as
/// black with alpha. Its outer `2 * reach` at each side are the corners and edges of every shadow.
QPixmap makeShadow(qreal ratio) {
    const int side = int(std::ceil((4 * shadowReach + 1) * ratio));
    const auto coverage = [&](int pixel) {
        const double at = (pixel + 0.5) / ratio;
        const double scale = shadowDeviation * std::sqrt(2.0);
        const double length = side / ratio;
        return 0.5 * (std::erf((at - shadowReach) / scale) - std::erf((at - (length - shadowReach)) / scale));
    };
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < side; ++x)
            line[x] = qRgba(0, 0, 0, int(std::lround(255 * shadowStrength * coverage(x) * coverage(y))));
    }
    return QPixmap::fromImage(image);
}

double snapped(double value, qreal ratio) {
    return std::round(value * ratio) / ratio;
}

}  // namespace

QRectF GridCellPainter::pictureRect(const QRect& square, const CellPicture& picture, qreal ratio) {
    QSizeF size = picture.pixmap.deviceIndependentSize();
    const double longer = std::max(size.width(), size.height());
    const double side = square.width();
    if (longer > 0 && (longer > side || picture.fit == CellPicture::Fit::square) &&
        std::abs(longer - side) >= 1 / ratio)
        size *= side / longer;
    return {QPointF(snapped(square.x() + (side - size.width()) / 2, ratio),
                    snapped(square.y() + (side - size.height()) / 2, ratio)),
            size};
}

void GridCellPainter::paint(QPainter& painter, const GridCell& cell) {
    paintPlate(painter, cell);
    paintPicture(painter, cell);
    if (!cell.titleLines.isEmpty())
        paintTitle(painter, cell);
}

QColor GridCellPainter::tint(double strength) const {
    QColor tinted = color(QPalette::Text);
    tinted.setAlphaF(float(strength));
    return tinted;
}

bool GridCellPainter::isDark() const {
    return color(QPalette::Base).lightness() < 128;
}

void GridCellPainter::paintPlate(QPainter& painter, const GridCell& cell) const {
    const QRectF plate = QRectF(cell.thumbnail).adjusted(-8, -8, 8, 8);
    const bool hasRing = cell.isCurrent && _look.showsFocus;
    if (!cell.isSelected && !cell.isHovered && !hasRing)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = cell.isSelected ? color(QPalette::Highlight) : color(QPalette::Text);
    fill.setAlphaF(cell.isSelected ? (isDark() ? 0.45F : 0.28F) : 0.06F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(cell.isSelected || cell.isHovered ? fill : Qt::transparent);
    painter.drawRoundedRect(plate, plateRadius, plateRadius);
    if (cell.isSelected || hasRing) {
        const double width = hasRing ? 2 : 1;
        const QColor highlight = color(QPalette::Highlight);
        painter.setPen(
            QPen(hasRing ? mixed(color(QPalette::Text), highlight, cell.isSelected ? 0.5F : 1) : highlight,
                 width));
        painter.setBrush(Qt::NoBrush);
        const double inset = width / 2;
        painter.drawRoundedRect(plate.adjusted(inset, inset, -inset, -inset), plateRadius - inset,
                                plateRadius - inset);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void GridCellPainter::paintPicture(QPainter& painter, const GridCell& cell) {
    const double before = painter.opacity();
    if (cell.picture.kind == CellPicture::Kind::unknown || cell.presence < 1) {
        painter.setOpacity(before *
                           (cell.picture.kind == CellPicture::Kind::unknown ? 1 : 1 - cell.presence));
        paintPlaceholder(painter, cell.thumbnail);
        painter.setOpacity(before);
    }
    painter.setOpacity(before * cell.presence);
    if (cell.picture.kind == CellPicture::Kind::broken)
        paintBroken(painter, cell.thumbnail);
    if (!cell.picture.pixmap.isNull()) {
        const qreal ratio = _look.devicePixelRatio;
        const QRectF rect = pictureRect(cell.thumbnail, cell.picture, ratio);
        const bool isFramed = cell.picture.kind == CellPicture::Kind::picture;
        if (isFramed && _look.isShadowed)
            paintShadow(painter, rect);
        if (isFramed && cell.picture.pixmap.hasAlphaChannel())
            painter.fillRect(rect, checkerboard());
        const bool isExact = std::abs(rect.width() * ratio - cell.picture.pixmap.width()) < 0.01;
        painter.setRenderHint(QPainter::SmoothPixmapTransform, !isExact);
        if (isExact)
            painter.drawPixmap(rect.topLeft(), cell.picture.pixmap);
        else
            painter.drawPixmap(rect, cell.picture.pixmap, QRectF(cell.picture.pixmap.rect()));
        if (isFramed && isDark()) {
            painter.setPen(QPen(tint(0.16), 1 / ratio));
            painter.setBrush(Qt::NoBrush);
            const double half = 0.5 / ratio;
            painter.drawRect(rect.adjusted(-half, -half, half, half));
        }
    }
    painter.setOpacity(before);
}

void GridCellPainter::paintPlaceholder(QPainter& painter, const QRect& square) const {
    const double inset = square.width() / 8.0;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint(0.07));
    painter.drawRoundedRect(QRectF(square).adjusted(0, inset, 0, -inset), 4, 4);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void GridCellPainter::paintBroken(QPainter& painter, const QRect& square) const {
    // A framed landscape, torn from top to bottom.
    const double unit = square.width() / 16.0;
    const QRectF frame(square.x() + 3 * unit, square.y() + 4 * unit, 10 * unit, 8 * unit);
    QPainterPath scene;
    scene.addEllipse(frame.topLeft() + QPointF(2.4 * unit, 2.2 * unit), 0.9 * unit, 0.9 * unit);
    QPolygonF hills;
    for (const auto& [x, y] : std::array<std::pair<double, double>, 6>{
             {{0.8, 7.2}, {3.0, 4.4}, {4.6, 6.0}, {6.8, 2.8}, {9.2, 5.8}, {9.2, 7.2}}})
        hills += frame.topLeft() + QPointF(x * unit, y * unit);
    scene.addPolygon(hills);
    QPolygonF tear;
    for (const auto& [x, y] : std::array<std::pair<double, double>, 5>{
             {{5.6, -0.5}, {4.4, 2.2}, {6.0, 4.0}, {4.6, 6.0}, {5.6, 8.5}}})
        tear += frame.topLeft() + QPointF(x * unit, y * unit);

    QPainterPath tearLine;
    tearLine.addPolygon(tear);
    QPainterPathStroker tearStroker(QPen(Qt::black, std::max(2.0, unit), Qt::SolidLine, Qt::FlatCap));
    QPainterPath whole;
    whole.addRect(square);

    painter.save();
    painter.setClipPath(whole - tearStroker.createStroke(tearLine), Qt::IntersectClip);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(tint(0.45), std::max(1.0, unit / 3), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(tint(0.06));
    painter.drawRoundedRect(frame, unit, unit);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint(0.35));
    painter.drawPath(scene);
    painter.restore();
}

void GridCellPainter::paintShadow(QPainter& painter, const QRectF& picture) {
    const qreal ratio = _look.devicePixelRatio;
    if (_shadow.isNull() || _shadowRatio != ratio) {
        _shadow = makeShadow(ratio);
        _shadowRatio = ratio;
    }
    const QRectF target =
        picture.adjusted(-shadowReach, shadowDrop - shadowReach, shadowReach, shadowDrop + shadowReach);
    const double x = std::min<double>(2 * shadowReach, target.width() / 2);
    const double y = std::min<double>(2 * shadowReach, target.height() / 2);
    const double side = _shadow.width();
    const std::array<double, 4> targetX{target.left(), target.left() + x, target.right() - x, target.right()};
    const std::array<double, 4> targetY{target.top(), target.top() + y, target.bottom() - y, target.bottom()};
    const std::array<double, 4> sourceX{0, x * ratio, side - x * ratio, side};
    const std::array<double, 4> sourceY{0, y * ratio, side - y * ratio, side};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column) {
            if (row == 1 && column == 1)
                continue;
            painter.drawPixmap(QRectF(QPointF(targetX[column], targetY[row]),
                                      QPointF(targetX[column + 1], targetY[row + 1])),
                               _shadow,
                               QRectF(QPointF(sourceX[column], sourceY[row]),
                                      QPointF(sourceX[column + 1], sourceY[row + 1])));
        }
}

void GridCellPainter::paintTitle(QPainter& painter, const GridCell& cell) const {
    const QFontMetrics metrics(_look.font);
    painter.setFont(_look.font);
    if (cell.isSelected) {
        int width = 0;
        for (const QString& line : cell.titleLines)
            width = std::max(width, metrics.horizontalAdvance(line));
        QRectF pill(0, 0, std::min<double>(width + 12, cell.title.width()),
                    double(cell.titleLines.size() * _look.lineHeight));
        pill.moveCenter(QRectF(cell.title).center());
        pill.moveTop(cell.title.top());
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color(QPalette::Highlight));
        painter.drawRoundedRect(pill.adjusted(0, -1, 0, 1), 5, 5);
        painter.setRenderHint(QPainter::Antialiasing, false);
    }
    painter.setPen(color(cell.isSelected ? QPalette::HighlightedText : QPalette::Text));
    // A name runs as its letters do, whatever the window's direction: "a-" never as "-a".
    const bool runsLeft = cell.titleLines.join(QString()).isRightToLeft();
    painter.setLayoutDirection(runsLeft ? Qt::RightToLeft : Qt::LeftToRight);
    QRect line(cell.title.left(), cell.title.top(), cell.title.width(), _look.lineHeight);
    for (const QString& text : cell.titleLines) {
        painter.drawText(line, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine, text);
        line.translate(0, _look.lineHeight);
    }
}

}  // namespace platform
