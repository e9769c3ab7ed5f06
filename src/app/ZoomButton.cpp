// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ZoomButton.h"

#include <QPainter>

ZoomButton::ZoomButton(QWidget* parent) : QToolButton(parent) {
    setAutoRaise(true);
    setAutoRepeat(true);
    setFocusPolicy(Qt::NoFocus);
}

void ZoomButton::setGlyph(Glyph glyph) {
    _glyph = glyph;
    update();
}

void ZoomButton::paintEvent(QPaintEvent* event) {
    QToolButton::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor color = palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText);
    color.setAlphaF(color.alphaF() * 0.75F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);

    const QPointF middle = QRectF(rect()).center();
    constexpr qreal side = 12;  // points
    if (_glyph == Glyph::largePictures) {
        painter.drawRoundedRect(QRectF(middle.x() - side / 2, middle.y() - side / 2, side, side), 2, 2);
        return;
    }
    constexpr qreal small = 4;
    constexpr qreal step = 5.5;
    for (const QPointF offset : {QPointF(0, 0), QPointF(step, 0), QPointF(0, step), QPointF(step, step)})
        painter.drawRoundedRect(
            QRectF(middle - QPointF(step + small, step + small) / 2 + offset, QSizeF(small, small)), 1, 1);
}
