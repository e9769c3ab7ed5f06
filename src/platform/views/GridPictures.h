// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCache>
#include <QIcon>
#include <QPixmap>
#include <QString>

#include <functional>

namespace platform {

class ThumbnailQueue;
struct Thumbnail;

/// What a cell shows of its file, ready to be drawn.
struct CellPicture {
    enum class Kind {
        unknown,  ///< nothing known yet: a neutral placeholder
        picture,  ///< a thumbnail
        icon,     ///< no picture file: its type's icon
        broken,   ///< a picture file that could not be read
    };
    /// Whether the cell's square is to be filled, or the picture is smaller than that by itself.
    enum class Fit { square, ownSize };

    Kind kind = Kind::unknown;
    Fit fit = Fit::square;
    QPixmap pixmap;   ///< with its device pixel ratio set
    QString failure;  ///< why it is broken
};

/// Makes the thumbnails and icons that cells show, at the screen's own pixels, and keeps them up to a number
/// of bytes, least recently drawn going first. Main thread only; borrows the queue.
class GridPictures {
 public:
    using IconProvider = std::function<QIcon(const QString& path)>;

    void setQueue(const ThumbnailQueue* queue);
    void setIconProvider(IconProvider provider);
    /// The thumbnails' square: its side in logical pixels and the screen's ratio. What is at hand is drawn
    /// scaled by the caller until it has been made anew.
    void setTarget(int side, qreal devicePixelRatio);
    void setByteLimit(qsizetype bytes);

    /// The side in device pixels.
    int targetPixels() const { return _pixels; }

    CellPicture picture(const QString& path);
    enum class Change {
        none,
        appeared,  ///< the cell showed nothing yet
        replaced,
    };
    /// The queue has answered for a path: what that changes in its cell.
    Change update(const QString& path);
    void clear() { _entries.clear(); }
    /// Puts another icon in the place of the one that the provider had for a path; false where none stands.
    bool replaceIcon(const QString& path, const QIcon& icon);

 private:
    struct Entry {
        CellPicture picture;
        qint64 source = 0;  ///< which image of the queue it was made of
        int pixels = 0;     ///< for which target
    };
    static constexpr qsizetype bytesPerCost = 1024;

    Thumbnail thumbnail(const QString& path) const;
    /// Whether a thumbnail is the answer to the wish for the present target, or what happens to be at hand.
    enum class Asked { now, answered };
    Entry make(const QString& path, const Thumbnail& thumbnail, const Entry* before, Asked asked) const;
    QIcon providedIcon(const QString& path) const;
    CellPicture pictureOfIcon(const QIcon& icon) const;
    void keep(const QString& path, Entry entry);

    const ThumbnailQueue* _queue = nullptr;
    IconProvider _iconProvider;
    int _side = 128;
    qreal _devicePixelRatio = 1;
    int _pixels = 128;
    QCache<QString, Entry> _entries{65536};  ///< in units of bytesPerCost
};

}  // namespace platform
