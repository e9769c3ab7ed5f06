// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/DecoderHealth.h"

#include <QLoggingCategory>

#include <algorithm>
#include <map>

namespace platform {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(healthLog, "tavlin.decoder", QtWarningMsg)

constexpr int kDeath = 1;
constexpr int kFailedStart = 5;  // no picture was to blame
constexpr int kTolerated = 20;
constexpr auto kShortestRest = 250ms;
constexpr auto kLongestRest = 8000ms;

}  // namespace

DecoderHealth& DecoderHealth::of(const QString& program) {
    static std::mutex mutex;  // guards all
    // Never destroyed, as workers may outlive the statics.
    static auto& all = *new std::map<QString, DecoderHealth>;
    const std::scoped_lock lock(mutex);
    return all[program];
}

bool DecoderHealth::mayStart(Clock::time_point now) const {
    const std::scoped_lock lock(_mutex);
    return now >= _restsUntil;
}

bool DecoderHealth::isIll() const {
    const std::scoped_lock lock(_mutex);
    return _harm >= kTolerated;
}

void DecoderHealth::noteAnswer() {
    const std::scoped_lock lock(_mutex);
    _harm = 0;
    _rest = {};
    _restsUntil = {};
}

void DecoderHealth::noteDeath(Clock::time_point now) {
    note(kDeath, now);
}

void DecoderHealth::noteFailedStart(Clock::time_point now) {
    note(kFailedStart, now);
}

void DecoderHealth::note(int harm, Clock::time_point now) {
    const std::scoped_lock lock(_mutex);
    _harm = std::min(_harm + harm, kTolerated);
    if (_harm < kTolerated || now < _restsUntil)
        return;
    if (_rest == 0ms)
        qCWarning(healthLog, "decoders die one after the other: they get some rest");
    _rest = std::clamp<std::chrono::milliseconds>(_rest * 2, kShortestRest, kLongestRest);
    _restsUntil = now + _rest;
}

}  // namespace platform
