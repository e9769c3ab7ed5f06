// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>
#include <QPalette>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <memory>

class QLineEdit;
class QPainter;

namespace platform {

/// What a cell is told of the view it draws in.
struct CellContext {
    QPalette palette;       ///< its current colour group is that of the view
    bool isFlipped = true;  ///< y grows downward
    bool isSelected = false;
    bool isEnabled = true;
    Qt::LayoutDirection direction = Qt::LeftToRight;
};

/// Which part of a cell a point hits.
enum class CellHit : int { none = 0, contentArea = 1 };

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
    /// What of `bounds` the title is drawn in.
    virtual QRectF titleRectForBounds(QRectF bounds) const { return bounds; }
    virtual CellHit hitTestForEventInRectOfView(QPointF point, QRectF frame) const;
    virtual void drawWithFrameInView(QRectF frame, QPainter& painter, const CellContext& context);
    /// Lays `editor` over `frame`, shows the title in it and selects `length` characters from `start`.
    virtual void selectWithFrameInViewEditorStartLength(QRectF frame, QLineEdit& editor, int start,
                                                        int length);
    /// The same for a click: the text cursor goes to the end and nothing is selected.
    virtual void editWithFrameInViewEditor(QRectF frame, QLineEdit& editor);
    virtual std::unique_ptr<TextFieldCell> copy() const { return std::make_unique<TextFieldCell>(*this); }

    /// The platform's small text, in points.
    static float smallSystemFontSize();

 protected:
    /// Draws the title within `frame` in the colours of `context`: at the leading side, elided to the frame's
    /// width, vertically as `vertical` says.
    void drawTitle(QRectF frame, QPainter& painter, const CellContext& context,
                   Qt::AlignmentFlag vertical = Qt::AlignVCenter) const;

 private:
    QString _title;
    QFont _font;
};

}  // namespace platform
