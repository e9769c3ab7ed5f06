// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCache>
#include <QFont>
#include <QString>
#include <QStringList>

namespace platform {

/// Breaks titles into the lines that a cell has room for, the last one elided in its middle, so that a
/// number and an extension at the end stay readable. Keeps what it has worked out for some thousand titles.
/// Main thread only.
class GridTitles {
 public:
    /// Small cells get a second line, as their width holds few letters; wide ones hold a name in one.
    static int lineCountForSide(int thumbnailSide) { return thumbnailSide < 144 ? 2 : 1; }

    /// What the lines depend on; drops what was worked out for others. Logical pixels.
    void setFormat(const QFont& font, int width, int lineCount);
    /// The height of the lines, logical pixels.
    int height() const;
    int lineHeight() const { return _lineHeight; }
    QStringList lines(const QString& title);

 private:
    QStringList breakIntoLines(const QString& title) const;

    QFont _font;
    int _width = 0;
    int _lineCount = 0;
    int _lineHeight = 0;
    QCache<QString, QStringList> _lines{4096};
};

}  // namespace platform
