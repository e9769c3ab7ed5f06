// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PageArrangement.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace platform {

namespace {

constexpr QSizeF missingShape(3, 2);
constexpr qreal fewShare = 0.2;      // of the page's height that a text in one column may take
constexpr qreal largestShare = 0.6;  // of the page that a text may take from the picture
constexpr qreal smallestScale = 0.02;
constexpr int halvings = 12;

struct Block {
    ColumnText::Setting setting;
    qreal height = 0;
};

Block blockOf(const ColumnText& text, qreal width, int columns, qreal scale) {
    const qreal columnWidth = (width / scale - (columns - 1) * text.gap()) / columns;
    const int rows = (text.lineCount(columnWidth) + columns - 1) / columns;
    return {{columns, scale}, rows * text.lineHeight() * scale};
}

int mostColumns(const ColumnText& text, qreal width, qreal scale) {
    const qreal fitting = (width / scale + text.gap()) / (text.narrowestColumn() + text.gap());
    return std::max(1, int(std::floor(fitting)));
}

/// The text as large as this room allows; `few`: the height up to which it needs no further column.
Block fittingBlock(const ColumnText& text, const QSizeF& room, qreal few) {
    const int most = mostColumns(text, room.width(), 1);
    for (int columns = 1; columns <= most; ++columns) {
        const Block block = blockOf(text, room.width(), columns, 1);
        if (block.height <= few || (columns == most && block.height <= room.height()))
            return block;
    }
    qreal fits = smallestScale;
    qreal fails = 1;
    for (int i = 0; i < halvings; ++i) {
        const qreal scale = std::sqrt(fits * fails);
        const Block block = blockOf(text, room.width(), mostColumns(text, room.width(), scale), scale);
        (block.height <= room.height() ? fits : fails) = scale;
    }
    return blockOf(text, room.width(), mostColumns(text, room.width(), fits), fits);
}

/// The picture at the top of its room, in the middle of its width.
QRectF fitted(const QSizeF& picture, const QSizeF& room) {
    QSizeF size = room.expandedTo({1, 1});
    if (picture.isEmpty())
        size = missingShape.scaled(size, Qt::KeepAspectRatio);
    else
        size = picture.width() <= size.width() && picture.height() <= size.height()
                   ? picture
                   : picture.scaled(size, Qt::KeepAspectRatio);
    return {QPointF((room.width() - size.width()) / 2, 0), size};
}

PageArrangement below(const QSizeF& page, const QSizeF& picture, const ColumnText& text) {
    const qreal gap = text.lineHeight();
    const qreal left = page.height() - fitted(picture, page).height() - gap;
    const QSizeF room(page.width(), std::max(left, page.height() * largestShare));
    const Block block = fittingBlock(text, room, std::max(left, page.height() * fewShare));
    PageArrangement result;
    result.picture = fitted(picture, {page.width(), page.height() - gap - block.height});
    result.text = {0, result.picture.bottom() + gap, page.width(), block.height};
    result.setting = block.setting;
    return result;
}

/// Nothing where the text would not fit at its own size.
std::optional<PageArrangement> beside(const QSizeF& page, const QSizeF& picture, const ColumnText& text) {
    const qreal gap = text.gap();
    const int lines = text.lineCount(text.narrowestColumn());
    const int rows = int(page.height() / text.lineHeight());
    const int columns = rows > 0 ? (lines + rows - 1) / rows : 0;
    const qreal width = columns * (text.narrowestColumn() + gap) - gap;
    if (columns == 0 || width > page.width() * largestShare)
        return std::nullopt;
    PageArrangement result;
    result.picture = fitted(picture, {page.width() - width - gap, page.height()});
    result.text = {page.width() - width, 0, width, blockOf(text, width, columns, 1).height};
    result.setting = {columns, 1};
    return result;
}

}  // namespace

PageArrangement PageArrangement::forPage(const QSizeF& page, const QSizeF& picture, const ColumnText& text) {
    const PageArrangement underneath = below(page, picture, text);
    const auto aside = beside(page, picture, text);
    return aside && aside->picture.width() > underneath.picture.width() ? *aside : underneath;
}

}  // namespace platform
