// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailWorkers.h"

#include "platform/Guard.h"
#include "platform/PathBytes.h"

#include <QLoggingCategory>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <variant>

namespace platform {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

Q_LOGGING_CATEGORY(thumbnailLog, "tavlin.thumbnails")

constexpr std::size_t pendingWriteLimit = std::size_t{32} << 20;
constexpr auto patienceAtEnd = 1s;
constexpr auto cancelInterval = 3ms;
/// After so long without work the decoder of pictures gets ready; before, it would only be in the way of the
/// first folder's stored thumbnails.
constexpr auto untilPictures = 250ms;

std::size_t poolSize() {
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 4);
}

}  // namespace

struct ThumbnailWorkers::Worker {
    Worker(const QString& program, ThumbnailStore store) : maker(program, std::move(store)) {}

    ThumbnailMaker maker;
    std::thread thread;

    ThumbnailJob job;
    std::uint64_t begunFor = 0;  ///< the wishes
    bool isBusy = false;         ///< with `job`
    bool isWanted = false;       ///< `job` still is
    bool isVisible = false;      ///< the file of `job` is
    bool hasEnded = false;
    Clock::time_point start;
};

/// What the threads share; all but `program` and `store` guarded by `mutex`. The makers are used by their own
/// threads outside of it, except for cancel().
struct ThumbnailWorkers::Shared {
    using Task = std::variant<ThumbnailJob, ThumbnailWrite>;

    const QString program;
    const ThumbnailStore store;

    std::mutex mutex;
    std::condition_variable work;      ///< there may be a task, or the end
    std::condition_variable progress;  ///< a task or a thread has ended
    std::function<void()> notify;
    bool isNotified = false;
    bool isStopping = false;
    std::deque<ThumbnailJob> firstSights;
    std::deque<ThumbnailJob> pictures;
    std::deque<ThumbnailJob> near;
    std::deque<ThumbnailWrite> writes;
    std::size_t writeBytes = 0;
    std::vector<ThumbnailAnswer> answers;
    std::vector<std::unique_ptr<Worker>> workers;

    Shared(QString decoderProgram, std::function<void()> notifier)
        : program(std::move(decoderProgram)), notify(std::move(notifier)) {}

    std::optional<Task> takeTask(Worker& worker);
    void finish(Worker& worker, ThumbnailMaker::Outcome outcome);
    bool adopt(const ThumbnailJob& job, bool isVisible);
    void cancelUnwanted();
    void run(Worker& worker, bool warmsUp);
};

std::optional<ThumbnailWorkers::Shared::Task> ThumbnailWorkers::Shared::takeTask(Worker& worker) {
    const auto begin = [&](std::deque<ThumbnailJob>& queue, bool isVisible) -> Task {
        worker.job = queue.front();
        queue.pop_front();
        worker.begunFor = worker.job.rank.wishes;
        worker.isBusy = worker.isWanted = true;
        worker.isVisible = isVisible;
        worker.start = Clock::now();
        worker.maker.forgetCancellation();
        return worker.job;
    };
    if (!firstSights.empty())
        return begin(firstSights, true);
    if (!writes.empty() && (pictures.empty() || writeBytes > pendingWriteLimit)) {
        Task write = std::move(writes.front());
        writes.pop_front();
        writeBytes -= std::get<ThumbnailWrite>(write).bytes();
        return write;
    }
    if (!pictures.empty())
        return begin(pictures, true);
    if (!near.empty())
        return begin(near, false);
    return std::nullopt;
}

void ThumbnailWorkers::Shared::finish(Worker& worker, ThumbnailMaker::Outcome outcome) {
    worker.isBusy = false;
    progress.notify_all();
    if (isStopping)
        return;
    if (outcome.isUnfinished && worker.isWanted) {
        ThumbnailJob rest = worker.job;
        rest.effort = ThumbnailJob::Effort::whole;
        rest.atHand.reset();
        (worker.isVisible ? pictures : near).push_back(std::move(rest));
        work.notify_one();
    }
    if (outcome.write) {
        writeBytes += outcome.write->bytes();
        writes.push_back(std::move(*outcome.write));
        work.notify_one();
    }
    if (outcome.answer) {
        outcome.answer->rank = worker.job.rank;
        answers.push_back(std::move(*outcome.answer));
        if (!std::exchange(isNotified, true))
            notify();
    }
}

void ThumbnailWorkers::Shared::run(Worker& worker, bool warmsUp) {
    const auto warmUp = [&](DecodeRequest::Kind kind) {
        guarded("starting a decoder", [&] { worker.maker.warmUp(kind); });
    };
    if (warmsUp)
        warmUp(DecodeRequest::Kind::storedThumbnail);
    bool isColdToPictures = warmsUp;
    std::unique_lock lock(mutex);
    while (!isStopping) {
        auto task = takeTask(worker);
        if (!task && isColdToPictures) {
            const bool isIdle = work.wait_for(lock, untilPictures) == std::cv_status::timeout;
            if (!isIdle || isStopping)
                continue;
            isColdToPictures = false;
            lock.unlock();
            warmUp(DecodeRequest::Kind::thumbnail);
            lock.lock();
            continue;
        }
        if (!task) {
            work.wait(lock);
            continue;
        }
        lock.unlock();
        ThumbnailMaker::Outcome outcome;
        if (const auto* job = std::get_if<ThumbnailJob>(&*task))
            outcome = guarded("making a thumbnail", ThumbnailMaker::failed(*job),
                              [&] { return worker.maker.work(*job); });
        else
            guarded("storing a thumbnail", [&] { worker.maker.write(std::get<ThumbnailWrite>(*task)); });
        task.reset();
        lock.lock();
        finish(worker, std::move(outcome));
    }
    worker.hasEnded = true;
    progress.notify_all();
}

/// Whether a worker is at this very job, with the file as it is now; it then is that worker's.
bool ThumbnailWorkers::Shared::adopt(const ThumbnailJob& job, bool isVisible) {
    if (job.atHand)
        return false;
    for (const auto& worker : workers) {
        if (!worker->isBusy || !(worker->job.request == job.request) || worker->begunFor < job.checkFrom)
            continue;
        worker->job.rank = job.rank;
        worker->isWanted = true;
        worker->isVisible = isVisible;
        return true;
    }
    return false;
}

void ThumbnailWorkers::Shared::cancelUnwanted() {
    const auto now = Clock::now();
    for (const auto& worker : workers)
        if (worker->isBusy && !worker->isWanted && now - worker->start >= patienceWithUnwanted)
            worker->maker.cancel();
}

ThumbnailWorkers::ThumbnailWorkers(QString decoderProgram, std::function<void()> notify)
    : _shared(std::make_shared<Shared>(std::move(decoderProgram), std::move(notify))) {
}

ThumbnailWorkers::~ThumbnailWorkers() {
    std::unique_lock lock(_shared->mutex);
    _shared->isStopping = true;
    _shared->work.notify_all();
    const auto& workers = _shared->workers;
    const auto deadline = Clock::now() + patienceAtEnd;
    const auto haveEnded = [&] {
        return std::all_of(workers.begin(), workers.end(),
                           [](const auto& worker) { return worker->hasEnded; });
    };
    // Again and again, as a worker may be between two decodes when it is cancelled.
    while (!haveEnded() && Clock::now() < deadline) {
        for (const auto& worker : workers)
            if (worker->isBusy)
                worker->maker.cancel();
        _shared->progress.wait_for(lock, cancelInterval);
    }
    _shared->notify = nullptr;
    std::vector<std::thread> ended;
    for (const auto& worker : workers) {
        if (worker->hasEnded)
            ended.push_back(std::move(worker->thread));
        else
            worker->thread.detach();
    }
    lock.unlock();
    for (std::thread& thread : ended)
        thread.join();
}

void ThumbnailWorkers::startThreads(std::size_t wanted, bool warmsUp) {
    Shared& shared = *_shared;
    while (shared.workers.size() < std::min(wanted, poolSize())) {
        auto worker = std::make_unique<Worker>(shared.program, shared.store);
        try {
            worker->thread =
                std::thread([shared = _shared, own = worker.get(), warmsUp] { shared->run(*own, warmsUp); });
        } catch (const std::system_error& e) {
            if (!std::exchange(_lacksThreads, true))
                qCWarning(thumbnailLog, "no thread for thumbnails: %s", e.what());
            return;
        }
        shared.workers.push_back(std::move(worker));
        _lacksThreads = false;
    }
}

void ThumbnailWorkers::warmUp() {
    const std::lock_guard lock(_shared->mutex);
    startThreads(1, true);
}

bool ThumbnailWorkers::setJobs(std::vector<ThumbnailJob> visible, std::vector<ThumbnailJob> near) {
    Shared& shared = *_shared;
    const std::lock_guard lock(shared.mutex);
    shared.firstSights.clear();
    shared.pictures.clear();
    shared.near.clear();
    for (const auto& worker : shared.workers)
        worker->isWanted = false;
    for (ThumbnailJob& job : visible) {
        if (shared.adopt(job, true))
            continue;
        const bool isFirst = job.effort == ThumbnailJob::Effort::firstSight;
        (isFirst ? shared.firstSights : shared.pictures).push_back(std::move(job));
    }
    for (ThumbnailJob& job : near)
        if (!shared.adopt(job, false))
            shared.near.push_back(std::move(job));
    shared.cancelUnwanted();
    const std::size_t count = visible.size() + near.size();
    startThreads(count, false);  // each asks its decoders at once
    shared.work.notify_all();
    return count == 0 || !shared.workers.empty();
}

void ThumbnailWorkers::cancelUnwanted() {
    const std::lock_guard lock(_shared->mutex);
    _shared->cancelUnwanted();
}

std::vector<ThumbnailAnswer> ThumbnailWorkers::takeAnswers() {
    const std::lock_guard lock(_shared->mutex);
    _shared->isNotified = false;
    return std::exchange(_shared->answers, {});
}

void ThumbnailWorkers::dropBelow(const QString& folder, std::chrono::steady_clock::time_point deadline) {
    Shared& shared = *_shared;
    std::unique_lock lock(shared.mutex);
    const auto isBelow = [&](const ThumbnailJob& job) {
        return isBelowFolder(job.request.path, folder);
    };
    for (auto* queue : {&shared.firstSights, &shared.pictures, &shared.near})
        std::erase_if(*queue, isBelow);
    for (bool isOpen = true; isOpen;) {
        isOpen = false;
        for (const auto& worker : shared.workers) {
            if (!worker->isBusy || !isBelow(worker->job))
                continue;
            isOpen = true;
            worker->isWanted = false;
            worker->maker.cancel();
        }
        if (isOpen && Clock::now() >= deadline)
            return;
        if (isOpen)
            shared.progress.wait_for(lock, cancelInterval);
    }
}

}  // namespace platform
