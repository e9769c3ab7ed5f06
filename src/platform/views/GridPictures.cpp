// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridPictures.h"

#include "platform/Guard.h"
#include "platform/imaging/ThumbnailQueue.h"

#include <QApplication>
#include <QStyle>

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform {

namespace {

int longerSide(const QImage& image) {
    return std::max(image.width(), image.height());
}

bool isShown(const Thumbnail& thumbnail) {
    return thumbnail.state == Thumbnail::State::preview || thumbnail.state == Thumbnail::State::complete;
}

}  // namespace

void GridPictures::setQueue(const ThumbnailQueue* queue) {
    _queue = queue;
    clear();
}

void GridPictures::setIconProvider(IconProvider provider) {
    _iconProvider = std::move(provider);
    clear();
}

void GridPictures::setTarget(int side, qreal devicePixelRatio) {
    _side = side;
    _devicePixelRatio = devicePixelRatio;
    _pixels = int(std::ceil(side * devicePixelRatio));
}

void GridPictures::setByteLimit(qsizetype bytes) {
    _entries.setMaxCost(std::max<qsizetype>(1, bytes / bytesPerCost));
}

Thumbnail GridPictures::thumbnail(const QString& path) const {
    return _queue ? _queue->thumbnail(path) : Thumbnail{};
}

CellPicture GridPictures::picture(const QString& path) {
    const Entry* const entry = _entries.object(path);
    if (entry && entry->pixels == _pixels)
        return entry->picture;
    const Thumbnail current = thumbnail(path);
    if (current.state == Thumbnail::State::unknown)
        return entry ? entry->picture : CellPicture{};
    Entry made = make(path, current, entry, Asked::now);
    CellPicture result = made.picture;
    keep(path, std::move(made));
    return result;
}

GridPictures::Change GridPictures::update(const QString& path) {
    const Thumbnail current = thumbnail(path);
    if (current.state == Thumbnail::State::unknown)
        return Change::none;
    const Entry* const entry = _entries.object(path);
    Entry made = make(path, current, entry, Asked::answered);
    Change change = entry ? Change::replaced : Change::appeared;
    if (entry && entry->pixels == made.pixels && entry->source == made.source &&
        entry->picture.kind == made.picture.kind && entry->picture.fit == made.picture.fit &&
        entry->picture.failure == made.picture.failure)
        change = Change::none;
    keep(path, std::move(made));
    return change;
}

GridPictures::Entry GridPictures::make(const QString& path, const Thumbnail& thumbnail, const Entry* before,
                                       Asked asked) const {
    Entry entry;
    entry.pixels = _pixels;
    if (thumbnail.state == Thumbnail::State::failed) {
        entry.picture.kind = CellPicture::Kind::broken;
        entry.picture.failure = thumbnail.failure;
    } else if (thumbnail.state == Thumbnail::State::notImage) {
        entry.picture = pictureOfIcon(providedIcon(path));
    } else if (isShown(thumbnail) && !thumbnail.image.isNull()) {
        const int side = longerSide(thumbnail.image);
        // An image below the wanted size is either the whole small picture or of an earlier, smaller zoom.
        // The first is known by its having been the answer to a wish for more.
        const bool isWholeAnswer = asked == Asked::answered && thumbnail.state == Thumbnail::State::complete;
        const bool wasWhole = before && before->source == thumbnail.image.cacheKey() &&
                              before->picture.fit == CellPicture::Fit::ownSize;
        if (side < _pixels && (isWholeAnswer || wasWhole))
            entry.picture.fit = CellPicture::Fit::ownSize;
        entry.picture.kind = CellPicture::Kind::picture;
        entry.source = thumbnail.image.cacheKey();
        entry.picture.pixmap =
            QPixmap::fromImage(side > _pixels ? thumbnail.image.scaled(_pixels, _pixels, Qt::KeepAspectRatio,
                                                                       Qt::SmoothTransformation)
                                              : thumbnail.image);
        entry.picture.pixmap.setDevicePixelRatio(_devicePixelRatio);
    }
    return entry;
}

bool GridPictures::replaceIcon(const QString& path, const QIcon& icon) {
    Entry* const entry = _entries.object(path);
    if (!entry || entry->picture.kind != CellPicture::Kind::icon)
        return false;
    entry->picture = pictureOfIcon(icon);
    return true;
}

QIcon GridPictures::providedIcon(const QString& path) const {
    QIcon icon;
    if (_iconProvider)
        icon = guarded("iconProvider", QIcon(), [&] { return _iconProvider(path); });
    return icon.isNull() ? QApplication::style()->standardIcon(QStyle::SP_FileIcon) : icon;
}

CellPicture GridPictures::pictureOfIcon(const QIcon& icon) const {
    CellPicture picture;
    picture.kind = CellPicture::Kind::icon;
    picture.fit = CellPicture::Fit::ownSize;
    // A little smaller than a photograph, as an icon's shape carries more weight than its frame.
    const int side = _side * 3 / 4;
    picture.pixmap = icon.pixmap(QSize(side, side), _devicePixelRatio);
    return picture;
}

void GridPictures::keep(const QString& path, Entry entry) {
    const QPixmap& pixmap = entry.picture.pixmap;
    const qsizetype bytes = qsizetype(pixmap.width()) * pixmap.height() * pixmap.depth() / 8;
    const qsizetype cost = 1 + bytes / bytesPerCost;
    _entries.insert(path, new Entry(std::move(entry)), cost);
}

}  // namespace platform
