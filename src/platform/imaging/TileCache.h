// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/TileGrid.h"

#include <QHash>
#include <QImage>

#include <list>

namespace platform {

/// Tiles of pictures, those of all windows together within a bound of bytes. The least recently used go
/// first; those that are shown stay, even beyond the bound. Main thread only.
class TileCache {
 public:
    using PictureId = quint64;
    struct Key {
        PictureId picture = 0;
        TilePlace place;
        bool operator==(const Key&) const = default;
    };

    explicit TileCache(qsizetype bound) : _bound(bound) {}
    TileCache(const TileCache&) = delete;
    TileCache& operator=(const TileCache&) = delete;

    /// That of all image windows.
    static TileCache& shared();

    /// A number that no picture has had.
    PictureId newPicture() { return ++_lastPicture; }
    void insert(const Key& key, const QImage& tile);
    /// The tile, which thereby counts as used; a null image where there is none.
    QImage find(const Key& key);
    bool contains(const Key& key) const { return _tiles.contains(key); }
    /// Those that are shown of a picture from now on; the ones that were are not any more.
    void setShown(PictureId picture, const std::vector<TilePlace>& places);
    void forget(PictureId picture);

    qsizetype bytes() const { return _bytes; }
    qsizetype bound() const { return _bound; }

 private:
    struct Tile {
        Key key;
        QImage image;
    };

    bool isShown(const Key& key) const;
    void trim();

    const qsizetype _bound;
    qsizetype _bytes = 0;
    PictureId _lastPicture = 0;
    std::list<Tile> _order;  ///< the last used first
    QHash<Key, std::list<Tile>::iterator> _tiles;
    QHash<PictureId, std::vector<TilePlace>> _shown;
};

size_t qHash(const TileCache::Key& key, size_t seed = 0);

}  // namespace platform
