// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SeparatorCell.h"

#include <QColor>
#include <QPainter>

SeparatorCell::Lines SeparatorCell::Lines::forFrame(QRectF frame) {
    const qreal y = frame.y() + (frame.height() - 2) * 0.5 + 0.5;
    return {QRectF(frame.x(), y, frame.width(), 1), QRectF(frame.x(), y + 1, frame.width(), 1)};
}

void SeparatorCell::drawWithFrameInView(QRectF frame, QPainter& painter,
                                        const platform::CellContext& /*context*/) {
    const Lines lines = Lines::forFrame(frame);
    painter.fillRect(lines.upper, QColor::fromRgbF(0.349F, 0.6F, 0.898F, 0.6F));
    painter.fillRect(lines.lower, QColor::fromRgbF(0.976F, 1.0F, 1.0F, 1.0F));
}

void SeparatorCell::selectWithFrameInViewEditorStartLength(QRectF /*frame*/, QLineEdit& /*editor*/,
                                                           int /*start*/, int /*length*/) {
}

std::unique_ptr<platform::TextFieldCell> SeparatorCell::copy() const {
    return std::make_unique<SeparatorCell>(*this);
}
