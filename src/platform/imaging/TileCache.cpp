// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/TileCache.h"

#include <algorithm>
#include <iterator>

namespace platform {

size_t qHash(const TileCache::Key& key, size_t seed) {
    return qHashMulti(seed, key.picture, key.place.level, key.place.column, key.place.row);
}

TileCache& TileCache::shared() {
    constexpr qsizetype kBound = 192 << 20;
    static TileCache cache(kBound);
    return cache;
}

void TileCache::insert(const Key& key, const QImage& tile) {
    const auto found = _tiles.constFind(key);
    if (found != _tiles.cend()) {
        _bytes -= (*found)->image.sizeInBytes();
        _order.erase(*found);
    }
    _order.push_front({key, tile});
    _tiles.insert(key, _order.begin());
    _bytes += tile.sizeInBytes();
    trim();
}

QImage TileCache::find(const Key& key) {
    const auto found = _tiles.constFind(key);
    if (found == _tiles.cend())
        return {};
    _order.splice(_order.begin(), _order, *found);
    return (*found)->image;
}

void TileCache::setShown(PictureId picture, const std::vector<TilePlace>& places) {
    if (places.empty())
        _shown.remove(picture);
    else
        _shown.insert(picture, places);
    trim();
}

void TileCache::forget(PictureId picture) {
    _shown.remove(picture);
    for (auto tile = _order.begin(); tile != _order.end();) {
        if (tile->key.picture != picture) {
            ++tile;
            continue;
        }
        _bytes -= tile->image.sizeInBytes();
        _tiles.remove(tile->key);
        tile = _order.erase(tile);
    }
}

bool TileCache::isShown(const Key& key) const {
    const auto shown = _shown.constFind(key.picture);
    return shown != _shown.cend() && std::ranges::find(*shown, key.place) != shown->cend();
}

void TileCache::trim() {
    for (auto tile = _order.end(); _bytes > _bound && tile != _order.begin();) {
        --tile;
        if (isShown(tile->key))
            continue;
        _bytes -= tile->image.sizeInBytes();
        _tiles.remove(tile->key);
        tile = _order.erase(tile);
    }
}

}  // namespace platform
