// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/DecodeThreads.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>

namespace platform {

/// Runs a file's animation: asks a decoder for the next frame while one is shown, so that at most two are in
/// memory. Ends on the last frame when the file's loops are done, and on the last good one where a frame
/// cannot be had. Main thread only; never waits.
class PictureAnimation : public QObject {
    Q_OBJECT

 public:
    /// `size`: of the picture, upright, as a decoder said; frames of another size end the animation.
    PictureAnimation(QString path, QSize size, QObject* parent = nullptr);

    /// Stopped at first. While it is stopped nothing is asked for and the frame stays.
    void setRunning(bool isRunning);
    /// The frame to be shown; null before the first.
    const QImage& frame() const { return _shown; }
    /// The frames asked for so far.
    int requests() const { return _requests; }
    /// Whether no further frame will come.
    bool hasEnded() const { return _hasEnded && !_next; }

 Q_SIGNALS:
    void frameChanged();

 private:
    void askNext();
    void take();
    void advance(const DecodedPicture& picture);
    void showDue();

    const QString _path;
    const QSize _size;
    QTimer _timer;  ///< until the next frame is due
    std::unique_ptr<DecodeTask> _task;
    QImage _shown;
    std::optional<DecodedPicture> _next;
    int _index = 0;  ///< of the frame to be asked for next
    int _loops = 0;  ///< done
    int _requests = 0;
    bool _isRunning = false;
    bool _isDue = false;
    bool _hasEnded = false;  ///< nothing more is asked for
};

}  // namespace platform
