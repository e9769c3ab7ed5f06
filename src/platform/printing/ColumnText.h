// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>
#include <QString>
#include <QStringList>

#include <vector>

class QPainter;

namespace platform {

/// A plain text set in columns of one font, line by line; a line that is wider than its column goes on below,
/// indented. Lengths are in the units of the font's device.
class ColumnText {
 public:
    /// Where and how it is set: `scale` 1 is the font's own size.
    struct Setting {
        int columns = 1;
        qreal scale = 1;
    };

    ColumnText() = default;
    ColumnText(const QString& text, const QFont& font);

    const QString& text() const { return _text; }
    const QFont& font() const { return _font; }
    qreal lineHeight() const { return _lineHeight; }
    /// The narrowest column in which keys and usual values keep to one line.
    qreal narrowestColumn() const;
    /// The space between two columns.
    qreal gap() const;

    /// How many lines it takes in a column of this width.
    int lineCount(qreal columnWidth) const;
    /// Paints in columns of equal width, filled one after the other with equally many lines.
    void paint(QPainter& painter, qreal width, const Setting& setting) const;

 private:
    struct Line {
        QString text;
        qreal width = 0;  ///< in one piece
    };

    QString _text;
    QFont _font;
    qreal _lineHeight = 0;
    qreal _characterWidth = 0;
    std::vector<Line> _lines;
};

}  // namespace platform
