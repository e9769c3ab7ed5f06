// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/PictureAnimation.h"

#include <algorithm>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto frameDeadline = 20s;

/// How long a frame is shown. Files without a sensible delay go at the pace that browsers give them.
std::chrono::milliseconds timeOf(std::chrono::milliseconds delay) {
    return delay <= 10ms ? 100ms : std::max(delay, 20ms);
}

}  // namespace

PictureAnimation::PictureAnimation(QString path, QSize size, QObject* parent)
    : QObject(parent), _path(std::move(path)), _size(size) {
    _timer.setSingleShot(true);
    _timer.setTimerType(Qt::PreciseTimer);
    connect(&_timer, &QTimer::timeout, this, [this] {
        _isDue = true;
        showDue();
    });
}

/// A frame under way is let come: to stop it would cost the decoder all it has kept.
void PictureAnimation::setRunning(bool isRunning) {
    if (_isRunning == isRunning)
        return;
    _isRunning = isRunning;
    _isDue = isRunning;
    _timer.stop();
    askNext();
    showDue();
}

void PictureAnimation::askNext() {
    if (!_isRunning || _hasEnded || _task || _next)
        return;
    DecodeRequest request;
    request.kind = DecodeRequest::Kind::frame;
    request.frame = _index;
    ++_requests;
    _task = std::make_unique<DecodeTask>(DecodeThreads::tiles(_path), _path, request, frameDeadline);
    connect(_task.get(), &DecodeTask::finished, this, &PictureAnimation::take);
}

void PictureAnimation::take() {
    const DecodeResult result = _task->takeResult();
    _task.release()->deleteLater();  // it is the one that calls
    const auto* picture = std::get_if<DecodedPicture>(&result);
    if (!picture || picture->fullSize != _size) {
        _hasEnded = true;
        return;
    }
    _next = *picture;
    advance(*picture);
    showDue();
}

void PictureAnimation::advance(const DecodedPicture& picture) {
    if (++_index < picture.frameCount)
        return;
    _index = 0;
    _hasEnded = picture.frameCount == 1 || (picture.loops >= 0 && _loops >= picture.loops);
    ++_loops;
}

void PictureAnimation::showDue() {
    if (!_isDue || !_next)
        return;
    _shown = _next->image;
    _timer.start(timeOf(_next->delay));
    _next.reset();
    _isDue = false;
    askNext();
    Q_EMIT frameChanged();
}

}  // namespace platform
