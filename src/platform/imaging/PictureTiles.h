// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/DecodeThreads.h"
#include "platform/imaging/TileCache.h"

#include <QElapsedTimer>
#include <QObject>

#include <deque>

namespace platform {

/// The tiles of one picture file: asks a decoder for those that are shown, the ones in the middle first, then
/// for those around them, one at a time, so that what is scrolled away is not asked for any more. They lie in
/// the cache; the failed ones are not asked for again. Main thread only; never waits.
class PictureTiles : public QObject {
    Q_OBJECT

 public:
    /// `size`: of the picture, upright, as a decoder said; a file that has another one by now gives no tiles.
    PictureTiles(QString path, QSize size, TileCache& cache, QObject* parent = nullptr);
    ~PictureTiles() override;

    const TileGrid& grid() const { return _grid; }
    /// What is shown: a part of the picture, in its pixels, at a level. An empty part: nothing.
    void show(const QRectF& part, int level);
    /// A tile that is there; a null image where it is not.
    QImage tile(const TilePlace& place) { return _cache.find({_picture, place}); }
    /// Whether nothing that is wanted is still to come.
    bool isIdle() const { return !_task; }
    /// The tiles decoded so far.
    int decodes() const { return _decodes; }

 Q_SIGNALS:
    void tileCame(platform::TilePlace place);

 private:
    bool isMissing(const TilePlace& place) const;
    void askNext();
    void take();
    void noteFailure(DecodeError error);
    void dropOtherLevel();

    const QString _path;
    const TileGrid _grid;
    TileCache& _cache;
    const TileCache::PictureId _picture;
    std::deque<TilePlace> _wanted;
    QRect _interest;
    std::unique_ptr<DecodeTask> _task;
    TilePlace _asked;  ///< of _task
    QElapsedTimer _askedAt;
    std::vector<TilePlace> _failed;
    quint32 _refusedLevels = 0;  ///< a bit for each
    bool _isGivenUp = false;
    int _decodes = 0;
};

}  // namespace platform
