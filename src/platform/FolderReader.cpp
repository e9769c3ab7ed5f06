// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderReader.h"

#include "platform/FileAccess.h"
#include "platform/Guard.h"
#include "platform/MountTable.h"
#include "platform/PathBytes.h"

#include <QAbstractEventDispatcher>
#include <QCollator>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

/// A worker with nothing to do ends after this time.
constexpr std::chrono::seconds workerPatience{10};

std::optional<double> modificationTime(const std::optional<FileStatus>& status) {
    return status ? std::optional(status->modificationTime) : std::nullopt;
}

FolderEntry askEntry(int folder, std::string_view name, EntryKind kind) {
    FolderEntry entry;
    entry.name = pathFromBytes(QByteArrayView(name.data(), static_cast<qsizetype>(name.size())));
    entry.isHidden = name.front() == '.';
    const auto own = fileStatusAt(folder, name.data(), FollowLinks::no);
    entry.modificationTime = modificationTime(own);
    kind = own ? own->kind : kind;
    const auto target = kind == EntryKind::link ? fileStatusAt(folder, name.data()) : own;
    entry.exists = target.has_value();
    entry.isFolder = target && target->kind == EntryKind::folder;
    return entry;
}

bool mayBeVisibleFolder(std::string_view name, EntryKind kind) {
    return name.front() != '.' && kind != EntryKind::regularFile && kind != EntryKind::other;
}

/// By the rules of the user's language; names it holds equal by their code units, so that the order is one.
void sortByLanguage(std::vector<FolderEntry>& entries) {
    if (entries.size() < 2)
        return;
    const QCollator collator;
    std::vector<std::pair<QCollatorSortKey, std::size_t>> keys;
    keys.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
        keys.emplace_back(collator.sortKey(entries[i].name), i);
    std::sort(keys.begin(), keys.end(), [&](const auto& a, const auto& b) {
        const int order = a.first.compare(b.first);
        return order != 0 ? order < 0 : entries[a.second].name < entries[b.second].name;
    });
    std::vector<FolderEntry> sorted;
    sorted.reserve(entries.size());
    for (const auto& key : keys)
        sorted.push_back(std::move(entries[key.second]));
    entries = std::move(sorted);
}

struct Request {
    QString path;
    FolderDetail detail = FolderDetail::status;
    FolderReader::Read read;
    std::vector<FolderReader::LateAnswer> lateAnswers;
    bool isLate = false;
    bool isDone = false;
    FolderContents contents;
};

bool isStillWanted(const Request& request) {
    return !request.isLate || std::any_of(request.lateAnswers.begin(), request.lateAnswers.end(),
                                          [](const auto& answer) { return !answer.owner.expired(); });
}

/// Where late answers go; outlives the reader in the hands of a worker that hangs.
struct Mailbox {
    std::mutex mutex;
    QObject* receiver = nullptr;  ///< guarded by `mutex`; null when nobody reads any more

    void post(const std::shared_ptr<Request>& request) {
        const std::lock_guard lock(mutex);
        if (receiver == nullptr)
            return;
        QMetaObject::invokeMethod(
            receiver,
            [request] {
                for (const auto& answer : request->lateAnswers) {
                    if (const auto owner = answer.owner.lock())
                        guarded("a late folder", [&] { answer.deliver(request->contents); });
                }
            },
            Qt::QueuedConnection);
    }
};

/// The queue of one volume, and its worker.
struct Lane {
    std::mutex
        mutex;  ///< guards everything below, and the requests' isLate, isDone, lateAnswers and contents
    std::condition_variable workArrived;
    std::condition_variable answerArrived;
    std::deque<std::shared_ptr<Request>> queue;
    std::shared_ptr<Request> running;
    bool hasWorker = false;
};

void runWorker(const std::shared_ptr<Lane>& lane, const std::shared_ptr<Mailbox>& mailbox) {
    std::unique_lock lock(lane->mutex);
    while (lane->workArrived.wait_for(lock, workerPatience, [&] { return !lane->queue.empty(); })) {
        const std::shared_ptr<Request> request = std::move(lane->queue.front());
        lane->queue.pop_front();
        if (!isStillWanted(*request))
            continue;
        lane->running = request;
        lock.unlock();
        FolderContents contents = guarded("reading a folder", FolderContents(),
                                          [&] { return request->read(request->path, request->detail); });
        lock.lock();
        lane->running.reset();
        request->contents = std::move(contents);
        request->isDone = true;
        if (request->isLate) {
            lock.unlock();
            mailbox->post(request);
            lock.lock();
        } else {
            lane->answerArrived.notify_one();
        }
    }
    lane->hasWorker = false;
}

}  // namespace

FolderContents readFolder(const QString& path, FolderDetail detail) {
    FolderContents contents;
    const auto own = fileStatus(path, FollowLinks::no);
    contents.modificationTime = modificationTime(own);
    const auto target = own && own->kind == EntryKind::link ? fileStatus(path) : own;
    contents.isFolder = target && target->kind == EntryKind::folder;
    if (!contents.isFolder || detail == FolderDetail::status)
        return contents;
    const ScopedFileDescriptor folder = openFolder(path);
    if (!folder.isValid())
        return contents;
    contents.isListed = visitFolder(folder.get(), [&](std::string_view name, EntryKind kind) {
        if (detail == FolderDetail::subfolders && !mayBeVisibleFolder(name, kind))
            return true;
        FolderEntry entry = askEntry(folder.get(), name, kind);
        if (detail == FolderDetail::everyEntry || entry.isFolder)
            contents.entries.push_back(std::move(entry));
        return true;
    });
    sortByLanguage(contents.entries);
    return contents;
}

struct FolderReader::Private {
    Read read;
    MountTable mounts;
    QHash<QString, std::shared_ptr<Lane>> lanes;
    std::shared_ptr<Mailbox> mailbox = std::make_shared<Mailbox>();
    QObject receiver;
    QPointer<QAbstractEventDispatcher> dispatcher;
    Clock::duration budget = turnBudget;
    Clock::duration spentThisTurn{};

    void watchTurns();
    std::shared_ptr<Lane> laneOfPath(const QString& path);
    static bool joinQueued(Lane& lane, const QString& path, FolderDetail detail, LateAnswer& late);
};

void FolderReader::Private::watchTurns() {
    QAbstractEventDispatcher* current = QAbstractEventDispatcher::instance();
    if (current == nullptr)
        spentThisTurn = {};
    if (current == dispatcher)
        return;
    dispatcher = current;
    QObject::connect(current, &QAbstractEventDispatcher::awake, &receiver, [this] { spentThisTurn = {}; });
    QObject::connect(current, &QAbstractEventDispatcher::aboutToBlock, &receiver,
                     [this] { spentThisTurn = {}; });
}

std::shared_ptr<Lane> FolderReader::Private::laneOfPath(const QString& path) {
    std::shared_ptr<Lane>& lane = lanes[mountFolderOfPath(mounts.mountFolders(), path)];
    if (!lane)
        lane = std::make_shared<Lane>();
    return lane;
}

/// Adds the late answer to a queued visit of the same folder, so that a dead volume gathers no heap of them.
bool FolderReader::Private::joinQueued(Lane& lane, const QString& path, FolderDetail detail,
                                       LateAnswer& late) {
    for (const auto& request : lane.queue) {
        if (request->path != path || request->detail != detail)
            continue;
        std::erase_if(request->lateAnswers, [](const auto& answer) { return answer.owner.expired(); });
        request->lateAnswers.push_back(std::move(late));
        return true;
    }
    return false;
}

FolderReader& FolderReader::shared() {
    static FolderReader* reader = new FolderReader;  // never destroyed: a worker may hang until the very end
    return *reader;
}

FolderReader::FolderReader(Read read) : _d(std::make_unique<Private>()) {
    _d->read = std::move(read);
    _d->mailbox->receiver = &_d->receiver;
}

FolderReader::~FolderReader() {
    const std::lock_guard lock(_d->mailbox->mutex);
    _d->mailbox->receiver = nullptr;
}

void FolderReader::setRead(Read read, std::chrono::milliseconds budget) {
    _d->read = std::move(read);
    _d->budget = budget;
}

std::optional<FolderContents> FolderReader::contents(const QString& path, FolderDetail detail,
                                                     LateAnswer late) {
    _d->watchTurns();
    const Clock::time_point start = Clock::now();
    const std::shared_ptr<Lane> lane = _d->laneOfPath(path);
    const auto request = std::make_shared<Request>();
    request->path = path;
    request->detail = detail;
    request->read = _d->read;

    std::unique_lock lock(lane->mutex);
    const bool owesAnswer = lane->running || !lane->queue.empty();
    const bool canWait = !owesAnswer && _d->spentThisTurn < _d->budget;
    const bool isHopeless = !canWait && late.owner.expired();
    if (isHopeless || (owesAnswer && Private::joinQueued(*lane, path, detail, late)))
        return std::nullopt;
    if (!lane->hasWorker)
        std::thread(runWorker, lane, _d->mailbox).detach();
    lane->hasWorker = true;
    request->isLate = !canWait;
    request->lateAnswers.push_back(std::move(late));
    lane->queue.push_back(request);
    lane->workArrived.notify_one();
    if (!canWait)
        return std::nullopt;
    request->isLate = !lane->answerArrived.wait_until(lock, start + _d->budget - _d->spentThisTurn,
                                                      [&] { return request->isDone; });
    _d->spentThisTurn += Clock::now() - start;
    return request->isLate ? std::nullopt : std::optional(std::move(request->contents));
}

}  // namespace platform
