// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailQueue.h"
#include "platform/views/ImageBrowserViewPrivate.h"
#include "platform/views/IndexSetAlgebra.h"
#include "platform/views/PaneFocus.h"

#include <QLocale>
#include <QPainter>
#include <QPaintEvent>

#include <algorithm>
#include <utility>

namespace platform {

namespace {

constexpr double dimmedOpacity = 0.4;

}  // namespace

// --- the look

void ImageBrowserView::paintEvent(QPaintEvent* event) {
    Private& d = *_d;
    if (d.shownRatio != devicePixelRatioF()) {
        // The window has come to another screen.
        d.shownRatio = devicePixelRatioF();
        d.pictures.clear();
        d.askForThumbnails();
    }
    if (!d.isZooming())
        d.pictures.setTarget(d.layout.thumbnailSide(), d.shownRatio);
    QPainter painter(viewport());
    if (d.model.count() == 0) {
        d.paintEmptyText(painter);
        return;
    }
    if (d.isDimmed)
        painter.setOpacity(dimmedOpacity);
    d.cellPainter.setLook(d.look());
    const QRect area = event->rect();
    const std::optional<IndexSet::Range> range =
        d.layout.indexesBetween(d.offset() + area.top(), d.offset() + area.bottom() + 1);
    for (std::size_t index = range ? range->first : 1; range && index <= range->last; ++index)
        if (event->region().intersects(d.cellRect(index)))
            d.cellPainter.paint(painter, d.cell(index));
    if (d.bandStart) {
        QColor fill = palette().color(QPalette::Highlight);
        painter.setOpacity(1);
        painter.setPen(fill);
        fill.setAlphaF(0.2F);
        painter.setBrush(fill);
        painter.drawRect(d.bandRect().adjusted(0, 0, -1, -1));
    }
}

GridLook ImageBrowserView::Private::look() const {
    GridLook look;
    look.palette = q.hasFocus() ? q.palette() : withoutFocus(q.palette());
    look.group = !q.isEnabled()       ? QPalette::Disabled
                 : q.isActiveWindow() ? QPalette::Active
                                      : QPalette::Inactive;
    look.font = q.font();
    look.lineHeight = titles.lineHeight();
    look.devicePixelRatio = q.devicePixelRatioF();
    look.isShadowed = (cellsStyle & cellsStyleShadowed) != 0;
    look.showsFocus = q.hasFocus();
    return look;
}

GridCell ImageBrowserView::Private::cell(std::size_t index) {
    GridCell cell;
    const QString path = model.path(index);
    cell.frame = cellRect(index);
    cell.thumbnail = layout.thumbnailRect(cell.frame);
    cell.title = layout.titleRect(cell.frame);
    if ((cellsStyle & cellsStyleTitled) != 0)
        cell.titleLines = titles.lines(model.title(index));
    cell.picture = pictures.picture(path);
    cell.presence = fades.presence(path);
    cell.isSelected = selection.indexes().contains(index);
    cell.isCurrent = selection.current() == index;
    cell.isHovered = hovered == index;
    return cell;
}

void ImageBrowserView::Private::paintEmptyText(QPainter& painter) const {
    if (emptyText.isEmpty())
        return;
    QFont font = q.font();
    font.setPointSizeF(font.pointSizeF() * 1.25);
    painter.setFont(font);
    painter.setPen(q.palette().color(QPalette::PlaceholderText));
    constexpr int room = 24;
    painter.drawText(q.viewport()->rect().adjusted(room, room, -room, -room),
                     Qt::AlignCenter | Qt::TextWordWrap, emptyText);
}

QString ImageBrowserView::Private::toolTip(std::size_t index) {
    const CellPicture picture = pictures.picture(model.path(index));
    if (picture.kind == CellPicture::Kind::broken && !picture.failure.isEmpty())
        return picture.failure;
    QString title = model.title(index);
    if ((cellsStyle & cellsStyleTitled) == 0)
        return title;
    // Where a line was broken, the blank went.
    const QString shown = titles.lines(title).join(QString());
    return QString(shown).remove(u' ') == QString(title).remove(u' ') ? QString() : title;
}

void ImageBrowserView::Private::updateCell(std::size_t index) {
    q.viewport()->update(cellRect(index));
}

void ImageBrowserView::Private::updateCells(const IndexSet& indexes) {
    const std::optional<IndexSet::Range> visible = visibleRange();
    if (!visible || indexes.isEmpty())
        return;
    intersectionOf(indexes, rangeBetween(visible->first, visible->last)).forEach([this](std::size_t index) {
        updateCell(index);
    });
}

void ImageBrowserView::Private::setHovered(std::optional<std::size_t> index) {
    const std::optional<std::size_t> before = std::exchange(hovered, index);
    if (before == index)
        return;
    if (before)
        updateCell(*before);
    if (index)
        updateCell(*index);
}

// --- the thumbnails

void ImageBrowserView::Private::sendWishes() {
    if (!queue || !q.isVisible() || isZooming())
        return;
    const std::optional<IndexSet::Range> visible = visibleRange();
    pictures.setTarget(layout.thumbnailSide(), q.devicePixelRatioF());
    const int pixels = pictures.targetPixels();
    const bool checkAgain = std::exchange(mustCheckFiles, false);
    if (visible == wishedRange && pixels == wishedPixels && !checkAgain)
        return;
    if (pixels != wishedPixels)
        q.viewport()->update();
    wishedRange = visible;
    wishedPixels = pixels;
    // Room for what is visible and two pages around it, whatever the screen.
    constexpr qsizetype leastBytes = qsizetype{32} * 1024 * 1024;
    const QSizeF screenful = QSizeF(layout.viewportSize()) * q.devicePixelRatioF();
    pictures.setByteLimit(std::max(leastBytes, qsizetype(screenful.width() * screenful.height()) * 4 * 3));

    visibleByPath.clear();
    std::vector<ThumbnailRequest> wanted;
    std::vector<ThumbnailRequest> near;
    if (visible) {
        const std::size_t page = visible->last - visible->first + 1;
        for (std::size_t index = visible->first; index <= visible->last; ++index) {
            wanted.push_back({model.path(index), pixels});
            visibleByPath.insert(wanted.back().path, index);
        }
        const std::size_t end = std::min(visible->last + 1 + page, model.count());
        for (std::size_t index = visible->last + 1; index < end; ++index)
            near.push_back({model.path(index), pixels});
        for (std::size_t back = 1; back <= std::min(page, visible->first); ++back)
            near.push_back({model.path(visible->first - back), pixels});
    }
    queue->setWanted(wanted, near, checkAgain);
}

void ImageBrowserView::Private::thumbnailChanged(const QString& path) {
    // Also of cells near the visible ones: they are then ready when they come into sight.
    const GridPictures::Change change = pictures.update(path);
    if (change == GridPictures::Change::none || !visibleByPath.contains(path))
        return;
    if (change == GridPictures::Change::appeared && animates)
        fades.start(path);
    updateCellsOfPath(path);
}

void ImageBrowserView::Private::updateCellsOfPath(const QString& path) {
    for (auto it = visibleByPath.constFind(path); it != visibleByPath.constEnd() && it.key() == path; ++it)
        updateCell(it.value());
}

}  // namespace platform
