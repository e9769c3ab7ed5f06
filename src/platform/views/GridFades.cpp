// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridFades.h"

#include <algorithm>

namespace platform {

namespace {

constexpr int frameMilliseconds = 16;

}  // namespace

void GridFades::start(const QString& path) {
    if (!_clock.isValid())
        _clock.start();
    _starts.insert(path, _clock.elapsed());
    if (!_frames.isActive())
        _frames.start(frameMilliseconds, Qt::PreciseTimer, this);
}

void GridFades::clear() {
    _starts.clear();
    _frames.stop();
}

double GridFades::presence(const QString& path) const {
    const auto start = _starts.constFind(path);
    if (start == _starts.constEnd())
        return 1;
    const double t = std::clamp(double(_clock.elapsed() - *start) / milliseconds, 0.0, 1.0);
    return t * (2 - t);
}

void GridFades::timerEvent(QTimerEvent* /*event*/) {
    const QList<QString> paths = _starts.keys();
    const qint64 now = _clock.elapsed();
    _starts.removeIf([now](const auto& entry) { return now - entry.value() >= milliseconds; });
    if (_starts.isEmpty())
        _frames.stop();
    for (const QString& path : paths)
        Q_EMIT stepped(path);
}

}  // namespace platform
