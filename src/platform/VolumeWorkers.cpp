// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/VolumeWorkers.h"

#include "platform/Guard.h"

#include <QLoggingCategory>

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

namespace platform {

namespace {

Q_LOGGING_CATEGORY(volumeLog, "tavlin.volumes")

/// A worker with nothing to do ends after this time.
constexpr std::chrono::seconds workerPatience{10};

}  // namespace

bool VolumeWorkers::runUntil(const std::shared_ptr<VolumeJob>& job, Clock::time_point deadline) {
    std::unique_lock lock(_mutex);
    const std::size_t before = jobsBeforeAnother();
    if (before >= _workers && _workers < mostWorkers) {
        try {
            std::thread([workers = shared_from_this()] { workers->work(); }).detach();
            ++_workers;
        } catch (const std::system_error& e) {
            qCWarning(volumeLog, "no thread to ask a volume: %s", e.what());
            if (_workers == 0)
                return false;  // queued, it would keep others from trying
        }
    }
    _queue.push_back(job);
    _jobArrived.notify_one();
    const bool mayBeDone = before < _workers;
    const bool isDone = mayBeDone && _jobDone.wait_until(lock, deadline, [&] { return job->_isDone; });
    job->_isLate = !isDone;
    if (!isDone && !job->isWantedLate())
        std::erase(_queue, job);
    return isDone;
}

bool VolumeWorkers::findJob(const std::function<bool(VolumeJob&)>& fits) {
    const std::lock_guard lock(_mutex);
    const auto isFound = [&](const auto& job) {
        return fits(*job);
    };
    return std::any_of(_running.begin(), _running.end(), isFound) ||
           std::any_of(_queue.begin(), _queue.end(), isFound);
}

std::size_t VolumeWorkers::jobsBeforeAnother() const {
    const auto late =
        std::count_if(_running.begin(), _running.end(), [](const auto& job) { return job->_isLate; });
    return static_cast<std::size_t>(late) + _queue.size();
}

void VolumeWorkers::work() {
    std::unique_lock lock(_mutex);
    while (_jobArrived.wait_for(lock, workerPatience, [&] { return !_queue.empty(); })) {
        const std::shared_ptr<VolumeJob> job = std::move(_queue.front());
        _queue.pop_front();
        if (job->_isLate && !job->isWantedLate())
            continue;
        _running.push_back(job);
        lock.unlock();
        guarded("asking a volume", [&] { job->run(); });
        lock.lock();
        std::erase(_running, job);
        job->_isDone = true;
        _jobDone.notify_all();
        if (!job->_isLate)
            continue;
        lock.unlock();
        job->deliverLate();
        lock.lock();
    }
    --_workers;
}

}  // namespace platform
