// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridLayout.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace platform {

int GridLayout::thumbnailSideForZoom(double zoom) {
    constexpr double ratio = double(largestThumbnail) / smallestThumbnail;
    return int(std::lround(smallestThumbnail * std::pow(ratio, std::clamp(zoom, 0.0, 1.0))));
}

int GridLayout::innerWidth() const {
    return std::max(1, _viewport.width() - 2 * margin);
}

int GridLayout::thumbnailSide() const {
    return std::max(16, std::min(_wantedSide, innerWidth() - 2 * padding));
}

QSize GridLayout::cellSize() const {
    const int side = thumbnailSide() + 2 * padding;
    return {side, side + (_titleHeight > 0 ? titleGap + _titleHeight + titleInset : 0)};
}

std::size_t GridLayout::columns() const {
    const int width = cellSize().width();
    return std::size_t(std::max(1, (innerWidth() + spacing) / (width + spacing)));
}

std::size_t GridLayout::rows() const {
    return (_count + columns() - 1) / columns();
}

qint64 GridLayout::contentHeight() const {
    return _count == 0 ? 0 : 2 * margin - spacing + qint64(rows()) * rowPitch();
}

qint64 GridLayout::greatestOffset() const {
    return std::max<qint64>(0, contentHeight() - _viewport.height());
}

qint64 GridLayout::rowTop(std::size_t row) const {
    return margin + qint64(row) * rowPitch();
}

int GridLayout::columnLeft(std::size_t column) const {
    const int columnCount = int(columns());
    const int visual = _direction == Qt::RightToLeft ? columnCount - 1 - int(column) : int(column);
    // Each column's share ends with the spacing to the next one.
    const qint64 shared = innerWidth() + spacing;
    const int shareLeft = int(shared * visual / columnCount);
    const int shareRight = int(shared * (visual + 1) / columnCount) - spacing;
    return margin + shareLeft + std::max(0, (shareRight - shareLeft - cellSize().width()) / 2);
}

QRect GridLayout::cellRect(std::size_t index, qint64 offset) const {
    constexpr qint64 farAway = std::numeric_limits<int>::max() / 4;
    const qint64 top = std::clamp(rowTop(rowOf(index)) - offset, -farAway, farAway);
    return {QPoint(columnLeft(index % columns()), int(top)), cellSize()};
}

QRect GridLayout::thumbnailRect(const QRect& cell) const {
    const int side = thumbnailSide();
    return {cell.left() + padding, cell.top() + padding, side, side};
}

QRect GridLayout::titleRect(const QRect& cell) const {
    return {cell.left(), cell.top() + thumbnailSide() + 2 * padding + titleGap, cell.width(), _titleHeight};
}

std::optional<std::size_t> GridLayout::indexAt(Point point) const {
    const qint64 y = point.y - margin;
    if (y < 0 || y % rowPitch() >= cellSize().height())
        return std::nullopt;
    const auto row = std::size_t(y / rowPitch());
    for (std::size_t column = 0; column < columns(); ++column) {
        const int left = columnLeft(column);
        const std::size_t index = row * columns() + column;
        if (point.x >= left && point.x < left + cellSize().width() && index < _count)
            return index;
    }
    return std::nullopt;
}

std::optional<IndexSet::Range> GridLayout::indexesBetween(qint64 top, qint64 bottom) const {
    // A row reaches from its top to its cells' bottom; the spacing below belongs to none.
    const qint64 firstRow = std::max<qint64>(0, (top - margin + spacing) / rowPitch());
    const qint64 lastRow = (bottom - 1 - margin) / rowPitch();
    const auto first = std::size_t(firstRow) * columns();
    if (bottom - 1 < margin || bottom <= top || lastRow < firstRow || first >= _count)
        return std::nullopt;
    const std::size_t afterLast = (std::size_t(lastRow) + 1) * columns();
    return IndexSet::Range{first, std::min(afterLast, _count) - 1};
}

IndexSet GridLayout::indexesInRect(Point corner, Point opposite) const {
    const qint64 top = std::min(corner.y, opposite.y);
    const qint64 bottom = std::max(corner.y, opposite.y) + 1;
    const int left = std::min(corner.x, opposite.x);
    const int right = std::max(corner.x, opposite.x) + 1;
    IndexSet set;
    const std::optional<IndexSet::Range> band = indexesBetween(top, bottom);
    if (!band)
        return set;
    std::optional<std::size_t> firstColumn;
    std::size_t lastColumn = 0;
    for (std::size_t column = 0; column < columns(); ++column)
        if (columnLeft(column) < right && columnLeft(column) + cellSize().width() > left) {
            firstColumn = firstColumn.value_or(column);
            lastColumn = column;
        }
    if (!firstColumn)
        return set;
    for (std::size_t row = rowOf(band->first); row <= rowOf(band->last); ++row) {
        const std::size_t first = row * columns() + *firstColumn;
        if (first < _count)
            set.insertRange(first, std::min(row * columns() + lastColumn, _count - 1));
    }
    return set;
}

std::size_t GridLayout::rowsPerPage() const {
    return std::size_t(std::max(1, _viewport.height() / rowPitch()));
}

std::size_t GridLayout::indexInRow(std::size_t row, std::size_t column) const {
    return std::min(std::min(row, rows() - 1) * columns() + column, _count - 1);
}

std::size_t GridLayout::indexAfterStep(std::size_t index, GridStep step) const {
    if (_count == 0)
        return index;
    const std::size_t row = rowOf(index);
    const std::size_t column = index % columns();
    const bool isBackward = (step == GridStep::left) != (_direction == Qt::RightToLeft);
    switch (step) {
        case GridStep::left:
        case GridStep::right:
            return isBackward ? index - (index > 0 ? 1 : 0) : std::min(index + 1, _count - 1);
        case GridStep::up:
            return row == 0 ? index : index - columns();
        case GridStep::down:
            return row + 1 == rows() ? index : indexInRow(row + 1, column);
        case GridStep::pageUp:
            return indexInRow(row - std::min(row, rowsPerPage()), column);
        case GridStep::pageDown:
            return indexInRow(row + rowsPerPage(), column);
        case GridStep::first:
            return 0;
        case GridStep::last:
            return _count - 1;
    }
    return index;
}

qint64 GridLayout::offsetShowing(std::size_t index, qint64 offset) const {
    const std::size_t row = rowOf(index);
    // The first and the last row bring the margin with them.
    const qint64 top = row == 0 ? 0 : rowTop(row) - spacing / 2;
    const qint64 bottom =
        row + 1 == rows() ? contentHeight() : rowTop(row) + cellSize().height() + spacing / 2;
    if (bottom > offset + _viewport.height())
        offset = bottom - _viewport.height();
    if (top < offset)
        offset = top;
    return std::clamp<qint64>(offset, 0, greatestOffset());
}

qint64 GridLayout::pixelsPerScrollStep() const {
    constexpr qint64 most = std::numeric_limits<int>::max() / 2;
    return 1 + greatestOffset() / most;
}

int GridLayout::scrollMaximum() const {
    const qint64 step = pixelsPerScrollStep();
    return int((greatestOffset() + step - 1) / step);
}

qint64 GridLayout::offsetForScroll(int value) const {
    return std::clamp<qint64>(qint64(value) * pixelsPerScrollStep(), 0, greatestOffset());
}

int GridLayout::scrollForOffset(qint64 offset) const {
    const qint64 step = pixelsPerScrollStep();
    return int((std::clamp<qint64>(offset, 0, greatestOffset()) + step - 1) / step);
}

}  // namespace platform
