// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/TextFieldCell.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QLineEdit>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <cmath>

namespace platform {

namespace {
constexpr qreal sideMargin = 2;
}

QSizeF TextFieldCell::cellSize() const {
    const QFontMetricsF metrics(_font);
    return {std::ceil(metrics.horizontalAdvance(_title)) + 2 * sideMargin, std::ceil(metrics.height())};
}

CellHit TextFieldCell::hitTestForEventInRectOfView(QPointF point, QRectF frame) const {
    return frame.contains(point) ? CellHit::contentArea : CellHit::none;
}

void TextFieldCell::drawWithFrameInView(QRectF frame, QPainter& painter, const CellContext& context) {
    drawTitle(frame, painter, context);
}

void TextFieldCell::selectWithFrameInViewEditorStartLength(QRectF frame, QLineEdit& editor, int start,
                                                           int length) {
    editor.setFont(_font);
    editor.setGeometry(frame.toAlignedRect());
    editor.setText(_title);
    editor.setSelection(start, length);
}

void TextFieldCell::editWithFrameInViewEditor(QRectF frame, QLineEdit& editor) {
    editor.setFont(_font);
    editor.setGeometry(frame.toAlignedRect());
    editor.setText(_title);
    editor.end(false);
}

float TextFieldCell::smallSystemFontSize() {
    const auto points = [](QFontDatabase::SystemFont which) {
        const QFont font = QFontDatabase::systemFont(which);
        return font.pointSizeF() > 0 ? font.pointSizeF() : QFontInfo(font).pointSizeF();
    };
    // A desktop that names no small font gets the toolkit's 12 points, larger than its general font.
    return static_cast<float>(
        std::min(points(QFontDatabase::SmallestReadableFont), points(QFontDatabase::GeneralFont)));
}

void TextFieldCell::drawTitle(QRectF frame, QPainter& painter, const CellContext& context,
                              Qt::AlignmentFlag vertical) const {
    if (_title.isEmpty() || frame.isEmpty())
        return;
    const QPalette::ColorGroup group =
        context.isEnabled ? context.palette.currentColorGroup() : QPalette::Disabled;
    const QPalette::ColorRole role = context.isSelected ? QPalette::HighlightedText : QPalette::Text;
    const QString shown = QFontMetricsF(_font).elidedText(_title, Qt::ElideRight, frame.width());
    const Qt::Alignment side = QStyle::visualAlignment(context.direction, Qt::AlignLeft);
    painter.save();
    painter.setFont(_font);
    painter.setPen(context.palette.color(group, role));
    painter.setLayoutDirection(_title.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    painter.drawText(frame, static_cast<int>(side | vertical | Qt::AlignAbsolute) | Qt::TextSingleLine,
                     shown);
    painter.restore();
}

}  // namespace platform
