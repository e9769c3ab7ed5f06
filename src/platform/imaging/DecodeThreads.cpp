// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/DecodeThreads.h"

#include "platform/FileAccess.h"
#include "platform/Guard.h"
#include "platform/PathBytes.h"

#include <QLoggingCategory>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace platform {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(decodeThreadsLog, "tavlin.decoder")

constexpr auto patienceAtEnd = 1s;

DecodeResult decodeFile(DecoderProcess& process, const QString& path, DecodeRequest request,
                        std::chrono::milliseconds deadline) {
    const ScopedFileDescriptor file = openRegularFile(path);
    if (!file.isValid())
        return DecodeFailure{DecodeError::damaged, QString::fromLocal8Bit(std::strerror(errno))};
    request.descriptor = file.get();
    return process.decode(request, deadline);
}

}  // namespace

struct DecodeThreads::Job {
    const QString path;
    const DecodeRequest request;
    const std::chrono::milliseconds deadline;

    std::mutex mutex;  ///< guards what follows
    std::condition_variable answered;
    QObject* receiver = nullptr;        ///< the task; null once it has been withdrawn
    DecoderProcess* process = nullptr;  ///< at work on it
    bool isDropped = false;             ///< its file is not to be opened any more
    std::optional<DecodeResult> result;

    Job(QString filePath, const DecodeRequest& asked, std::chrono::milliseconds limit, QObject* task)
        : path(std::move(filePath)), request(asked), deadline(limit), receiver(task) {}

    void run(DecoderProcess& decoder);
    void answer(DecodeResult with);
    void withdraw();
    void drop();
    bool isBelow(const QString& folder) const { return isBelowFolder(path, folder); }

 private:
    std::optional<DecodeResult> begin(DecoderProcess& decoder);
};

/// What there is to answer without any work on it.
std::optional<DecodeResult> DecodeThreads::Job::begin(DecoderProcess& decoder) {
    const std::scoped_lock lock(mutex);
    if (!receiver || isDropped)
        return DecodeFailure{DecodeError::cancelled, {}};
    decoder.forgetCancellation();
    process = &decoder;
    return std::nullopt;
}

/// Decodes outside the lock, so that a withdrawal never waits for it.
void DecodeThreads::Job::run(DecoderProcess& decoder) {
    std::optional<DecodeResult> outcome = begin(decoder);
    if (!outcome)
        outcome = guarded("decoding", DecodeResult(DecodeFailure{DecodeError::unavailable, {}}),
                          [&] { return decodeFile(decoder, path, request, deadline); });
    answer(std::move(*outcome));
}

void DecodeThreads::Job::answer(DecodeResult with) {
    const std::scoped_lock lock(mutex);
    process = nullptr;
    if (!receiver)
        return;
    result = std::move(with);
    answered.notify_all();
    QMetaObject::invokeMethod(static_cast<DecodeTask*>(receiver), &DecodeTask::finished,
                              Qt::QueuedConnection);
}

void DecodeThreads::Job::withdraw() {
    const std::scoped_lock lock(mutex);
    receiver = nullptr;
    if (process)
        process->cancel();
}

void DecodeThreads::Job::drop() {
    const std::scoped_lock lock(mutex);
    isDropped = true;
    if (process)
        process->cancel();
}

/// What the threads share; all guarded by `mutex`.
struct DecodeThreads::Shared {
    std::mutex mutex;
    std::condition_variable work;   ///< there is a job, or the end
    std::condition_variable ended;  ///< a thread, or its work on a job, has ended
    std::deque<std::shared_ptr<Job>> jobs;
    std::vector<std::shared_ptr<Job>> running;
    bool isStopping = false;
    std::vector<std::thread> threads;
    std::size_t numberEnded = 0;

    void run(const QString& program);
};

/// Where the system has no thread left, the next question tries again. With the lock held.
void DecodeThreads::startMissing() {
    try {
        while (_shared->threads.size() < _wanted)
            _shared->threads.emplace_back([shared = _shared, program = _program] { shared->run(program); });
        _lacksThreads = false;
    } catch (const std::system_error& e) {
        if (!std::exchange(_lacksThreads, true))
            qCWarning(decodeThreadsLog, "no thread to decode: %s", e.what());
    }
}

void DecodeThreads::Shared::run(const QString& program) {
    {
        DecoderProcess process(program);
        std::unique_lock lock(mutex);
        while (true) {
            work.wait(lock, [this] { return isStopping || !jobs.empty(); });
            if (isStopping)
                break;
            const std::shared_ptr<Job> job = std::move(jobs.front());
            jobs.pop_front();
            running.push_back(job);
            lock.unlock();
            job->run(process);
            lock.lock();
            std::erase(running, job);
            ended.notify_all();
        }
    }
    const std::scoped_lock lock(mutex);
    ++numberEnded;
    ended.notify_all();
}

DecodeThreads::DecodeThreads(const QString& program, std::size_t threads)
    : _program(program), _wanted(threads), _shared(std::make_shared<Shared>()) {
    {
        const std::scoped_lock lock(_shared->mutex);
        startMissing();
    }
    all().push_back(this);
}

DecodeThreads::~DecodeThreads() {
    std::erase(all(), this);
    std::unique_lock lock(_shared->mutex);
    _shared->isStopping = true;
    _shared->jobs.clear();
    for (const auto& job : _shared->running)
        job->withdraw();
    _shared->work.notify_all();
    const bool allEnded = _shared->ended.wait_for(
        lock, patienceAtEnd, [this] { return _shared->numberEnded == _shared->threads.size(); });
    std::vector<std::thread> threads = std::move(_shared->threads);
    lock.unlock();
    for (std::thread& thread : threads) {
        if (allEnded)
            thread.join();
        else
            thread.detach();
    }
}

DecodeThreads& DecodeThreads::pictures() {
    static DecodeThreads threads(DecoderProcess::installedProgram(), 2);
    return threads;
}

DecodeThreads& DecodeThreads::properties() {
    static DecodeThreads threads(DecoderProcess::installedProgram(), 1);
    return threads;
}

DecodeThreads& DecodeThreads::printing() {
    static DecodeThreads threads(DecoderProcess::installedProgram(), 1);
    return threads;
}

DecodeThreads& DecodeThreads::tiles(const QString& path) {
    static DecodeThreads even(DecoderProcess::installedProgram(), 1);
    static DecodeThreads odd(DecoderProcess::installedProgram(), 1);
    return qHash(path) % 2 == 0 ? even : odd;
}

std::vector<DecodeThreads*>& DecodeThreads::all() {
    static std::vector<DecodeThreads*> threads;
    return threads;
}

void DecodeThreads::releaseFilesBelow(const QString& folder, std::chrono::steady_clock::time_point deadline) {
    for (DecodeThreads* threads : all())
        threads->dropBelow(folder);
    for (DecodeThreads* threads : all())
        threads->waitUntilNoneRunsBelow(folder, deadline);
}

void DecodeThreads::dropBelow(const QString& folder) {
    const std::scoped_lock lock(_shared->mutex);
    for (const auto& job : _shared->jobs)
        if (job->isBelow(folder))
            job->drop();
    for (const auto& job : _shared->running)
        if (job->isBelow(folder))
            job->drop();
}

void DecodeThreads::waitUntilNoneRunsBelow(const QString& folder,
                                           std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(_shared->mutex);
    _shared->ended.wait_until(lock, deadline, [&] {
        return std::ranges::none_of(_shared->running, [&](const auto& job) { return job->isBelow(folder); });
    });
}

void DecodeThreads::post(const std::shared_ptr<Job>& job) {
    const std::scoped_lock lock(_shared->mutex);
    startMissing();
    if (_shared->threads.empty()) {
        job->answer(DecodeFailure{DecodeError::unavailable, {}});
        return;
    }
    _shared->jobs.push_back(job);
    _shared->work.notify_one();
}

DecodeTask::DecodeTask(DecodeThreads& threads, const QString& path, const DecodeRequest& request,
                       std::chrono::milliseconds deadline, QObject* parent)
    : QObject(parent), _job(std::make_shared<DecodeThreads::Job>(path, request, deadline, this)) {
    threads.post(_job);
}

DecodeTask::~DecodeTask() {
    _job->withdraw();
}

bool DecodeTask::waitFor(std::chrono::milliseconds patience) {
    std::unique_lock lock(_job->mutex);
    return _job->answered.wait_for(lock, patience, [this] { return _job->result.has_value(); });
}

bool DecodeTask::isFinished() const {
    const std::scoped_lock lock(_job->mutex);
    return _job->result.has_value();
}

DecodeResult DecodeTask::takeResult() {
    const std::scoped_lock lock(_job->mutex);
    return std::exchange(*_job->result, DecodeFailure{});
}

}  // namespace platform
