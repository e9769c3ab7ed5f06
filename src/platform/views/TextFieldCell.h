// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>
#include <QPalette>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <memory>

class QPainter;

namespace platform {

/// What a cell is told of the view it draws in.
struct CellContext {
    QPalette palette;
    bool isFlipped = true;  ///< y grows downward
    bool isSelected = false;
    bool hasFocus = false;
    bool isEnabled = true;
    Qt::LayoutDirection direction = Qt::LeftToRight;
};

/// A cell that draws one line of text, elided at its end. One cell serves every row of its column: it is
/// filled just before each row is drawn. Main thread only. Geometry is in points of the view.
class TextFieldCell {
 public:
    virtual ~TextFieldCell() = default;

    const QString& title() const { return _title; }
    void setTitle(const QString& title) { _title = title; }
    const QFont& font() const { return _font; }
    void setFont(const QFont& font) { _font = font; }

    /// The size of the title in the cell's font with a margin of 2 points at each side.
    virtual QSizeF cellSize() const;
    virtual QRectF titleRectForBounds(QRectF bounds) const { return bounds; }
    virtual void drawWithFrameInView(QRectF frame, QPainter& painter, const CellContext& context);
    virtual std::unique_ptr<TextFieldCell> copy() const { return std::make_unique<TextFieldCell>(*this); }

    /// The platform's small text, in points.
    static float smallSystemFontSize();

 protected:
    /// Draws the title within `frame`, vertically centred, in the colours of `context`.
    void drawTitle(QRectF frame, QPainter& painter, const CellContext& context) const;

 private:
    QString _title;
    QFont _font;
};

}  // namespace platform
