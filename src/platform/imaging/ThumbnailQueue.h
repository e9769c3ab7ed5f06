// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QObject>
#include <QString>

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

namespace platform {

/// A wish for one thumbnail: a value. `pixelSize` is the longer side in device pixels that the cell can show.
struct ThumbnailRequest {
    QString path;
    int pixelSize = 256;
    bool operator==(const ThumbnailRequest&) const = default;
};

/// What became of a wish.
struct Thumbnail {
    enum class State {
        unknown,   ///< nothing asked or nothing answered yet
        preview,   ///< a coarse picture that is to be replaced
        complete,  ///< the picture at the wanted size
        failed,    ///< a picture file that could not be decoded: `failure` says why
        notImage,  ///< no picture file: show its type's icon
    };
    State state = State::unknown;
    QImage image;  ///< upright sRGB, its longer side the wanted size or the picture's own, if that is smaller
    QString failure;
};

/// Thumbnails for a grid: visible first, then near, then nothing. Lives on the main thread; the work is done
/// by a pool of threads with decoders of their own (joined by the destructor). Decoded thumbnails are kept up
/// to a number of bytes, least recently wanted going first. warmUp() starts the first thread's decoders, to
/// be ready when the first wish comes.
///
/// Contract: setWanted() replaces all earlier wishes; what no longer stands in it is dropped before it
/// starts, and an answer that comes too late is kept if it fits, and not reported. Every wish that stands is
/// answered by one thumbnailChanged() with state complete, failed or notImage, at most one with state preview
/// before it; one that found no decoder is made again by itself, and reported each time. A wish whose answer
/// is at hand already when it is made (thumbnail() shows it) needs no report; with checkAgain it is reported
/// if the file turns out to be another version. Reports come from the event loop, never from within a call. A
/// path that stands several times counts once, where it is most urgent.
class ThumbnailQueue : public QObject {
    Q_OBJECT

 public:
    explicit ThumbnailQueue(QObject* parent = nullptr);
    ~ThumbnailQueue() override;

    void warmUp();
    /// What is wanted now, most urgent first: the visible cells, then those near. `checkAgain`: files may
    /// have changed on the disk, also those that are wanted later; thumbnails at hand stay shown until a
    /// newer one is there.
    void setWanted(const std::vector<ThumbnailRequest>& visible, const std::vector<ThumbnailRequest>& near,
                   bool checkAgain = false);
    /// What is at hand now, without waiting; possibly of another size than wanted.
    Thumbnail thumbnail(const QString& path) const;
    void setMemoryLimit(std::size_t bytes);
    std::size_t memoryUse() const;

    /// Every file below this folder is let go of: work on it is dropped. Returns when no descriptor is open
    /// any more, at the latest at the deadline.
    void releaseFilesBelow(const QString& folder, std::chrono::steady_clock::time_point deadline);

 Q_SIGNALS:
    void thumbnailChanged(const QString& path);
    /// All visible wishes that made work have their final answers, which are reported.
    void visibleAnswered();

 private:
    struct Private;
    void report();
    std::unique_ptr<Private> _d;
};

}  // namespace platform
