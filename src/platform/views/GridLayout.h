// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"

#include <QRect>
#include <QSize>

#include <cstddef>
#include <optional>

namespace platform {

/// Where the user steps from a cell; left and right are those of the screen.
enum class GridStep { left, right, up, down, pageUp, pageDown, first, last };

/// The mathematics of a grid of equal cells, without a painter: from the viewport's width, the thumbnails'
/// size and the number of items to columns, rectangles and ranges, each in constant time. A value; any
/// thread. Lengths are logical pixels. "Content" is the whole scrolled sheet, y growing downward from its
/// top; its y is 64 bits wide, as a long list of large cells is taller than an int can count.
///
/// Each column gets an equal share of the width, its cell centred in it, so that the grid fills the window at
/// any width. Rows fill in the reading direction.
class GridLayout {
 public:
    static constexpr int smallestThumbnail = 64;
    static constexpr int largestThumbnail = 512;
    static constexpr int margin = 12;     ///< around the whole grid
    static constexpr int spacing = 8;     ///< least room between two cells; a rubber band can start in it
    static constexpr int padding = 10;    ///< around the thumbnail's square: shadow and selection's plate
    static constexpr int titleGap = 2;    ///< between the padding's end and the title
    static constexpr int titleInset = 4;  ///< below the title

    struct Point {
        int x = 0;
        qint64 y = 0;
        bool operator==(const Point&) const = default;
    };

    /// The thumbnails' side for a zoom of 0 to 1. Equal steps of zoom are equal ratios of size, as the eye
    /// judges sizes by ratio.
    static int thumbnailSideForZoom(double zoom);

    void setCount(std::size_t count) { _count = count; }
    void setViewportSize(QSize size) { _viewport = size; }
    void setThumbnailSide(int side) { _wantedSide = side; }
    /// 0 for cells without a title.
    void setTitleHeight(int height) { _titleHeight = height; }
    void setDirection(Qt::LayoutDirection direction) { _direction = direction; }
    bool operator==(const GridLayout&) const = default;

    std::size_t count() const { return _count; }
    QSize viewportSize() const { return _viewport; }
    /// The wanted side, or less where not even one cell of it fits the width.
    int thumbnailSide() const;
    QSize cellSize() const;
    std::size_t columns() const;
    std::size_t rows() const;
    /// From one row's top to the next one's.
    int rowPitch() const { return cellSize().height() + spacing; }
    qint64 contentHeight() const;
    /// The greatest offset of the viewport's top in the content.
    qint64 greatestOffset() const;

    std::size_t rowOf(std::size_t index) const { return index / columns(); }
    qint64 rowTop(std::size_t row) const;
    /// A cell as the viewport shows it at `offset`; a cell far outside is only known to be outside.
    QRect cellRect(std::size_t index, qint64 offset) const;
    /// Within a cell's rectangle: the thumbnail's square and the title's place.
    QRect thumbnailRect(const QRect& cell) const;
    QRect titleRect(const QRect& cell) const;

    std::optional<std::size_t> indexAt(Point point) const;
    /// The indexes of whole rows that are at least partly between two heights, `bottom` excluded.
    std::optional<IndexSet::Range> indexesBetween(qint64 top, qint64 bottom) const;
    /// The cells that a rubber band between two corners touches, in any order.
    IndexSet indexesInRect(Point corner, Point opposite) const;
    /// The cell that a step leads to; `index` itself where there is none.
    std::size_t indexAfterStep(std::size_t index, GridStep step) const;
    /// The offset nearest to `offset` that shows the cell whole (its top, if it is taller than the viewport).
    qint64 offsetShowing(std::size_t index, qint64 offset) const;

    /// A scroll bar counts in int; contents taller than that are scrolled in steps of several pixels.
    int scrollMaximum() const;
    qint64 offsetForScroll(int value) const;
    int scrollForOffset(qint64 offset) const;

 private:
    int innerWidth() const;
    int columnLeft(std::size_t column) const;
    qint64 pixelsPerScrollStep() const;
    std::size_t rowsPerPage() const;
    std::size_t indexInRow(std::size_t row, std::size_t column) const;

    std::size_t _count = 0;
    QSize _viewport;
    int _wantedSide = 128;
    int _titleHeight = 0;
    Qt::LayoutDirection _direction = Qt::LeftToRight;
};

}  // namespace platform
