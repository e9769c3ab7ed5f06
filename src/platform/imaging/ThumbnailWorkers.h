// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/ThumbnailMaker.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// The pool of threads that make thumbnails with decoders of their own, as many as there are processors,
/// between two and four, started as there is work.
///
/// Order of work: first sight of all visible files (so that a preview stands in every cell before any large
/// picture is decoded), then the visible pictures, then writing to the store, then the near ones. Writes wait
/// no longer once they hold 32 MiB.
///
/// Called on one thread. The destructor stops the decoders and joins; only a thread that hangs in a system
/// call (a dead network volume) is left behind after a second, with nothing of ours but its own shared state.
class ThumbnailWorkers {
 public:
    /// `notify` is called on a worker when answers have come to wait; never after the destructor's end.
    ThumbnailWorkers(QString decoderProgram, std::function<void()> notify);
    ~ThumbnailWorkers();
    ThumbnailWorkers(const ThumbnailWorkers&) = delete;
    ThumbnailWorkers& operator=(const ThumbnailWorkers&) = delete;

    /// Starts one thread and its decoders, for the first work that is to come.
    void warmUp();
    /// Replaces the work that has not begun. Work under way goes on: a job that asks for the same as one
    /// under way, which has not begun before its `checkFrom`, and does not check a version, is that one. What
    /// is no longer wanted and takes long is cancelled. False where the system has no thread for it at all:
    /// nothing is done then before the next call.
    bool setJobs(std::vector<ThumbnailJob> visible, std::vector<ThumbnailJob> near);
    /// To be called once that long after the last setJobs(): cancels what was too young for that then.
    void cancelUnwanted();
    static constexpr std::chrono::milliseconds patienceWithUnwanted{300};
    std::vector<ThumbnailAnswer> takeAnswers();
    /// Drops the work on files below `folder`; returns when none of them is open any more, at the latest
    /// at the deadline.
    void dropBelow(const QString& folder, std::chrono::steady_clock::time_point deadline);

 private:
    struct Shared;
    struct Worker;
    void startThreads(std::size_t wanted, bool warmsUp);

    std::shared_ptr<Shared> _shared;
    bool _lacksThreads = false;  ///< which has been told
};

}  // namespace platform
