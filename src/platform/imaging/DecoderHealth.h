// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <mutex>

namespace platform {

/// How the decoders of one executable fare, in all threads together. Pictures on which a decoder dies are met
/// with now and then; where one dies after the other and none serves, it is not the pictures: something is
/// wrong with the installation or the machine. Then none is started for a while, which doubles each time from
/// a quarter of a second to eight seconds, until one serves again, and no picture is blamed. Any thread.
class DecoderHealth {
 public:
    using Clock = std::chrono::steady_clock;

    /// That of the executable at this path; lives as long as the program.
    static DecoderHealth& of(const QString& program);

    /// Whether a decoder may be started now.
    bool mayStart(Clock::time_point now = Clock::now()) const;
    /// Whether deaths are taken for the decoders' own.
    bool isIll() const;

    void noteAnswer();
    /// One died at its work.
    void noteDeath(Clock::time_point now = Clock::now());
    /// One could not be started, or never was ready.
    void noteFailedStart(Clock::time_point now = Clock::now());

 private:
    void note(int harm, Clock::time_point now);

    mutable std::mutex _mutex;  // guards what follows
    int _harm = 0;              // since the last answer
    std::chrono::milliseconds _rest{0};
    Clock::time_point _restsUntil;
};

}  // namespace platform
