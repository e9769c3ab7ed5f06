// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/DecoderProcess.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

namespace platform {

/// The thumbnails that all programs of the desktop share, and the list of files that could not be decoded.
/// Source: freedesktop Thumbnail Managing Standard 0.8, with the folders x-large and xx-large of later
/// drafts.
///
/// Where the standard leaves a choice: nothing is kept of a picture that fits into the wanted folder's size
/// as it is, nor of a file modified within the last two seconds, which may still be growing (its whole-second
/// time stamp could not tell the versions apart). Shared repositories (.sh_thumbnails) are not read.
///
/// An immutable value; any thread. Every call may block on the disk. An unwritable store is none: everything
/// answers "not there" or false.
class ThumbnailStore {
 public:
    /// A file as the store knows it.
    struct Original {
        QString path;
        QByteArray uri;
        std::int64_t modificationSeconds = 0;  ///< since 1970, rounded down
        std::uint64_t size = 0;                ///< bytes
    };
    struct Stored {
        QImage image;
        bool isWhole = false;  ///< smaller than its folder's size: the picture has no more pixels
    };
    /// Decodes the file behind a descriptor as DecodeRequest::Kind::storedThumbnail: files of the store are
    /// image files too, written by anybody.
    using Reader = std::function<DecodeResult(int descriptor)>;

    static constexpr int largestSize = 1024;

    explicit ThumbnailStore(QString folder = defaultFolder());

    /// $XDG_CACHE_HOME/thumbnails, by default ~/.cache/thumbnails.
    static QString defaultFolder();
    /// The side of the smallest stored thumbnail that shows `pixelSize`: 128, 256, 512 or 1024.
    static int storedSize(int pixelSize);
    /// "c6ee772d9e49320e97ec29a7eb5b1697.png" for "file:///home/jens/photos/me.png".
    static QString fileName(const QByteArray& uri);

    /// Where the thumbnail of a URI lies in the folder for `size` (128, 256, 512, 1024).
    QString thumbnailPath(const QByteArray& uri, int size) const;
    QString failurePath(const QByteArray& uri) const;

    /// The open file as an original; nothing when no thumbnail may be made of it: its path is relative, or it
    /// lies within the store itself, by whatever way.
    std::optional<Original> originalOf(const QString& path, int descriptor) const;

    /// A valid thumbnail of at least `pixelSize`, the smallest there is.
    std::optional<Stored> find(const Original& original, int pixelSize, const Reader& reader) const;
    /// Why this version of the file could not be decoded, by an earlier save of this program's version.
    std::optional<QString> findFailure(const Original& original, const Reader& reader) const;

    /// Keeps `image`, which fits into `size`. False when the store cannot be written, or need not be.
    bool save(const Original& original, int size, const QImage& image, QSize fullSize) const;
    bool saveFailure(const Original& original, const QString& reason) const;

 private:
    QString _folder;
};

}  // namespace platform
