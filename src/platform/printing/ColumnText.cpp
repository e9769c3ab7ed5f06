// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/ColumnText.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <limits>

namespace platform {

namespace {

constexpr int narrowestColumnCharacters = 58;  // the keys' column and a usual value
constexpr int gapCharacters = 4;
constexpr int indentCharacters = 4;
constexpr qreal lineSpacing = 1.2;  // of the font's size; fonts of many scripts ask for more than text needs
constexpr qreal anyWidth = 1e7;

/// Breaks one line of the text at this width, the later pieces being indented; answers how many there are.
int breakLine(QTextLayout& layout, qreal width, qreal indent) {
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setUseDesignMetrics(true);
    layout.setTextOption(option);
    layout.beginLayout();
    int count = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        const qreal used = count++ == 0 ? 0 : std::min(indent, width / 2);
        line.setLineWidth(width - used);
        line.setPosition({used, 0});
    }
    layout.endLayout();
    return count;
}

}  // namespace

/// Hinting would fit the letters to the pixels of a screen.
ColumnText::ColumnText(const QString& text, const QFont& font) : _text(text), _font(font) {
    _font.setHintingPreference(QFont::PreferNoHinting);
    const QFontMetricsF metrics(_font);
    _lineHeight = QFontInfo(_font).pixelSize() * lineSpacing;
    _characterWidth = metrics.horizontalAdvance(u'0');
    QStringList lines = text.split(u'\n');
    while (lines.size() > 1 && lines.constLast().isEmpty())
        lines.removeLast();
    for (const QString& line : lines) {
        QTextLayout layout(line, _font);
        breakLine(layout, anyWidth, 0);
        _lines.push_back({line, layout.lineCount() == 0 ? 0 : layout.lineAt(0).naturalTextWidth()});
    }
}

qreal ColumnText::narrowestColumn() const {
    return narrowestColumnCharacters * _characterWidth;
}

qreal ColumnText::gap() const {
    return gapCharacters * _characterWidth;
}

int ColumnText::lineCount(qreal columnWidth) const {
    int count = 0;
    for (const Line& line : _lines) {
        if (line.width <= columnWidth) {
            ++count;
            continue;
        }
        QTextLayout layout(line.text, _font);
        count += breakLine(layout, columnWidth, indentCharacters * _characterWidth);
    }
    return count;
}

void ColumnText::paint(QPainter& painter, qreal width, const Setting& setting) const {
    const qreal columnWidth =
        (width / setting.scale - (setting.columns - 1) * gap()) / std::max(1, setting.columns);
    const int rows = (lineCount(columnWidth) + setting.columns - 1) / setting.columns;
    painter.save();
    painter.scale(setting.scale, setting.scale);
    int row = 0;
    QPointF corner(0, 0);
    for (const Line& line : _lines) {
        QTextLayout layout(line.text, _font);
        breakLine(layout, std::max(columnWidth, 1.0), indentCharacters * _characterWidth);
        for (int i = 0; i < layout.lineCount(); ++i) {
            const QTextLine piece = layout.lineAt(i);
            piece.draw(&painter, corner + QPointF(0, row * _lineHeight));
            if (++row == rows) {
                row = 0;
                corner.rx() += columnWidth + gap();
            }
        }
    }
    painter.restore();
}

}  // namespace platform
