// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace platform {

/// Something to ask a volume, which may take for ever.
class VolumeJob {
 public:
    virtual ~VolumeJob() = default;
    /// On a worker's thread.
    virtual void run() = 0;
    /// Whether a job that nobody waits for any longer is still worth running, or its answer worth delivering.
    /// Any thread.
    virtual bool isWantedLate() const { return false; }
    /// Is called on the worker's thread when a job that nobody waits for has run after all.
    virtual void deliverLate() {}

 private:
    friend class VolumeWorkers;
    bool _isLate = false;  ///< nobody waits for it any longer
    bool _isDone = false;
};

/// The threads that ask one volume. There is one as long as it answers; while all are late with their answers
/// another one is started, up to a bound, so that a single file that hangs (a link to a dead server) does not
/// hide a whole volume. A thread that hangs in the kernel is left alone: the program's end waits for none.
/// Idle threads end after a while. Held by shared pointer; any thread.
class VolumeWorkers : public std::enable_shared_from_this<VolumeWorkers> {
 public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t mostWorkers = 4;

    /// Queues the job and waits for it. False when it is not done at the deadline: it is late then, and goes
    /// on running; or stays queued, if it is wanted late. Does not wait at all where every worker is late
    /// already and no other may be started.
    bool runUntil(const std::shared_ptr<VolumeJob>& job, Clock::time_point deadline);

    /// Whether a job that is queued or running fits; `fits` may change the first that does.
    bool findJob(const std::function<bool(VolumeJob&)>& fits);

 private:
    void work();
    /// How many workers are taken, for all one can tell: by late answers, or by what is queued already.
    std::size_t jobsBeforeAnother() const;

    std::mutex _mutex;  ///< guards everything below, and the jobs' flags
    std::condition_variable _jobArrived;
    std::condition_variable _jobDone;
    std::deque<std::shared_ptr<VolumeJob>> _queue;
    std::vector<std::shared_ptr<VolumeJob>> _running;
    std::size_t _workers = 0;
};

}  // namespace platform
