// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailCache.h"

#include <algorithm>

namespace platform {

namespace {

/// The entry itself, its two keys' nodes and the image's header, roughly; so that a million files that are no
/// pictures are bounded too.
constexpr std::size_t overhead = 400;

int longerSide(const QImage& image) {
    return std::max(image.width(), image.height());
}

std::size_t bytesOf(const QString& path, const ThumbnailCache::Entry& entry) {
    return overhead + static_cast<std::size_t>(path.size() + entry.thumbnail.failure.size()) * sizeof(QChar) +
           static_cast<std::size_t>(entry.thumbnail.image.sizeInBytes());
}

}  // namespace

bool ThumbnailCache::Entry::serves(int wantedSize) const {
    switch (thumbnail.state) {
        case Thumbnail::State::complete:
            return pixelSize == wantedSize || (isWhole && longerSide(thumbnail.image) <= wantedSize);
        case Thumbnail::State::failed:
        case Thumbnail::State::notImage:
            return true;
        case Thumbnail::State::unknown:
        case Thumbnail::State::preview:
            break;
    }
    return false;
}

const ThumbnailCache::Entry* ThumbnailCache::find(const QString& path) const {
    const auto found = _places.constFind(path);
    return found == _places.cend() ? nullptr : &found->entry;
}

void ThumbnailCache::rank(const QString& path, ThumbnailRank rank) {
    const auto found = _places.find(path);
    if (found == _places.end())
        return;
    _order.erase({found->rank, path});
    found->rank = rank;
    _order.emplace(rank, path);
}

void ThumbnailCache::insert(const QString& path, Entry entry, ThumbnailRank rank) {
    remove(path);
    const std::size_t bytes = bytesOf(path, entry);
    _places.insert(path, Place{std::move(entry), rank, bytes});
    _order.emplace(rank, path);
    _bytes += bytes;
    trim();
}

void ThumbnailCache::noteChecked(const QString& path, const FileVersion& version, std::uint64_t wishes) {
    const auto found = _places.find(path);
    if (found != _places.end() && found->entry.version == version)
        found->entry.checkedFor = std::max(found->entry.checkedFor, wishes);
}

void ThumbnailCache::remove(const QString& path) {
    const auto found = _places.find(path);
    if (found == _places.end())
        return;
    _bytes -= found->bytes;
    _order.erase({found->rank, path});
    _places.erase(found);
}

void ThumbnailCache::setLimit(std::size_t bytes) {
    _limit = bytes;
    trim();
}

void ThumbnailCache::trim() {
    while (_bytes > _limit && !_order.empty())
        remove(QString(_order.begin()->second));
}

}  // namespace platform
