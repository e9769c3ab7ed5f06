// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridTitles.h"

#include <QFontMetrics>
#include <QTextLayout>

namespace platform {

void GridTitles::setFormat(const QFont& font, int width, int lineCount) {
    if (font == _font && width == _width && lineCount == _lineCount)
        return;
    _font = font;
    _width = width;
    _lineCount = lineCount;
    _lineHeight = QFontMetrics(font).lineSpacing();
    _lines.clear();
}

int GridTitles::height() const {
    return _lineCount * _lineHeight;
}

QStringList GridTitles::lines(const QString& title) {
    if (const QStringList* known = _lines.object(title))
        return *known;
    QStringList lines = breakIntoLines(title);
    _lines.insert(title, new QStringList(lines));
    return lines;
}

QStringList GridTitles::breakIntoLines(const QString& title) const {
    // A name longer than any cell is cut before it is measured, as measuring goes with its length.
    constexpr qsizetype mostLetters = 512;
    QString rest = title.size() <= mostLetters
                       ? title
                       : title.left(mostLetters / 2) + QChar(0x2026) + title.right(mostLetters / 2);
    const QFontMetrics metrics(_font);
    QTextOption wrapping;
    wrapping.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QStringList lines;
    while (lines.size() + 1 < _lineCount && metrics.horizontalAdvance(rest) > _width) {
        QTextLayout layout(rest, _font);
        layout.setTextOption(wrapping);
        layout.beginLayout();
        QTextLine line = layout.createLine();
        line.setLineWidth(_width);
        layout.endLayout();
        // An extension is never torn: it goes to the next line whole.
        constexpr qsizetype longestExtension = 6;
        const qsizetype dot = rest.lastIndexOf(u'.');
        const bool tearsExtension =
            dot > 0 && dot < line.textLength() && rest.size() - dot <= longestExtension;
        const qsizetype length = tearsExtension ? dot : line.textLength();
        if (length <= 0 || length >= rest.size())
            break;
        lines += rest.left(length).trimmed();
        rest = rest.mid(length);
    }
    lines += metrics.elidedText(rest, Qt::ElideMiddle, _width);
    return lines;
}

}  // namespace platform
