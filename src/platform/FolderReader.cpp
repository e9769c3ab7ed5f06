// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderReader.h"

#include "platform/Guard.h"
#include "platform/MountTable.h"
#include "platform/PathBytes.h"
#include "platform/VolumeWorkers.h"

#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QDir>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <algorithm>
#include <array>
#include <climits>
#include <mutex>
#include <utility>
#include <vector>

namespace platform {

namespace {

using Clock = VolumeWorkers::Clock;

/// How long a folder's visit waits for where one of its links leads, on another volume.
constexpr auto linkBudget = FolderReader::turnBudget / 2;

/// The workers of all volumes, told apart by their mount folders. Any thread.
class Volumes {
 public:
    struct Workers {
        QString mountFolder;
        std::shared_ptr<VolumeWorkers> workers;
    };

    Workers workersOfPath(const QString& path) {
        const std::lock_guard lock(_mutex);
        const QString mountFolder = mountFolderOfPath(_mounts.mountFolders(), path);
        std::shared_ptr<VolumeWorkers>& workers = _workers[mountFolder];
        if (!workers)
            workers = std::make_shared<VolumeWorkers>();
        return {mountFolder, workers};
    }

 private:
    std::mutex _mutex;  ///< guards all below
    MountTable _mounts;
    QHash<QString, std::shared_ptr<VolumeWorkers>> _workers;
};

/// Asks where one link leads.
class LinkJob final : public VolumeJob {
 public:
    explicit LinkJob(QString path) : _path(std::move(path)) {}
    void run() override { _status = fileStatus(_path); }
    const QString& path() const { return _path; }
    const std::optional<FileStatus>& status() const { return _status; }

 private:
    const QString _path;
    std::optional<FileStatus> _status;
};

/// The path that a link names, as far as its text tells.
QString targetOfLink(const QString& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlink(bytesFromPath(path).constData(), target.data(), target.size());
    if (length <= 0)
        return path;
    const QString text = pathFromBytes(QByteArrayView(target.data(), length));
    return QDir::cleanPath(text.startsWith(u'/') ? text
                                                 : pathByAppending(pathByDeletingLastComponent(path), text));
}

std::optional<FileStatus> statusOfLink(Volumes& volumes, const QString& path) {
    const auto own = volumes.workersOfPath(path);
    const auto target = volumes.workersOfPath(targetOfLink(path));
    if (own.mountFolder == target.mountFolder)
        return fileStatus(path);
    const auto isAskedAlready = [&](const VolumeJob& each) {
        const auto* link = dynamic_cast<const LinkJob*>(&each);
        return link != nullptr && link->path() == path;
    };
    if (target.workers->findJob(isAskedAlready))
        return std::nullopt;
    const auto job = std::make_shared<LinkJob>(path);
    const bool isDone = target.workers->runUntil(job, Clock::now() + linkBudget);
    return isDone ? job->status() : std::nullopt;
}

class FolderJob;
struct Mailbox;

/// Empties the mailbox, on the main thread. The event that asks for it carries nothing.
class MailboxReader : public QObject {
 public:
    explicit MailboxReader(Mailbox& mailbox) : _mailbox(mailbox) {}
    void tellOwners();

 private:
    Mailbox& _mailbox;
};

/// Where late answers are handed over; outlives the reader in the hands of a worker that hangs.
struct Mailbox {
    std::mutex mutex;  ///< guards what follows
    std::vector<std::shared_ptr<FolderJob>> late;
    MailboxReader* reader = nullptr;  ///< null when nobody reads any more
};

/// Visits one folder.
class FolderJob final : public VolumeJob, public std::enable_shared_from_this<FolderJob> {
 public:
    FolderJob(QString path, FolderDetail detail, FolderReader::Read read, LinkStatus linkStatus,
              std::shared_ptr<Mailbox> mailbox)
        : _path(std::move(path)),
          _detail(detail),
          _read(std::move(read)),
          _linkStatus(std::move(linkStatus)),
          _mailbox(std::move(mailbox)) {}

    void run() override { _contents = _read(_path, _detail, _linkStatus); }
    bool isWantedLate() const override {
        return std::any_of(_lateAnswers.begin(), _lateAnswers.end(),
                           [](const auto& answer) { return !answer.owner.expired(); });
    }
    void deliverLate() override {
        const std::lock_guard lock(_mailbox->mutex);
        if (_mailbox->reader == nullptr)
            return;
        _mailbox->late.push_back(shared_from_this());
        QMetaObject::invokeMethod(_mailbox->reader, &MailboxReader::tellOwners, Qt::QueuedConnection);
    }

    bool isVisitTo(const QString& path, FolderDetail detail) const {
        return _path == path && _detail == detail;
    }
    /// Before the job is queued, or from within VolumeWorkers::findJob.
    void addLateAnswer(FolderReader::LateAnswer answer) {
        std::erase_if(_lateAnswers, [](const auto& each) { return each.owner.expired(); });
        _lateAnswers.push_back(std::move(answer));
    }
    FolderContents takeContents() { return std::move(_contents); }

    void tellOwners() const {
        for (const auto& answer : _lateAnswers) {
            if (const auto owner = answer.owner.lock())
                guarded("a late folder", [&] { answer.deliver(_contents); });
        }
    }

 private:
    const QString _path;
    const FolderDetail _detail;
    const FolderReader::Read _read;
    const LinkStatus _linkStatus;
    const std::shared_ptr<Mailbox> _mailbox;
    std::vector<FolderReader::LateAnswer> _lateAnswers;
    FolderContents _contents;
};

void MailboxReader::tellOwners() {
    std::vector<std::shared_ptr<FolderJob>> late;
    {
        const std::lock_guard lock(_mailbox.mutex);
        late.swap(_mailbox.late);
    }
    for (const auto& job : late)
        job->tellOwners();
}

}  // namespace

struct FolderReader::Private {
    Read read = readFolder;
    std::shared_ptr<Volumes> volumes = std::make_shared<Volumes>();
    std::shared_ptr<Mailbox> mailbox = std::make_shared<Mailbox>();
    MailboxReader reader{*mailbox};
    QPointer<QAbstractEventDispatcher> dispatcher;
    Clock::duration budget = turnBudget;
    Clock::duration spentThisTurn{};

    void watchTurns();
    LinkStatus linkStatus() const {
        return [volumes = volumes](const QString& link) {
            return statusOfLink(*volumes, link);
        };
    }
};

void FolderReader::Private::watchTurns() {
    QAbstractEventDispatcher* current = QAbstractEventDispatcher::instance();
    if (current == nullptr)
        spentThisTurn = {};
    if (current == dispatcher)
        return;
    dispatcher = current;
    QObject::connect(current, &QAbstractEventDispatcher::awake, &reader, [this] { spentThisTurn = {}; });
    QObject::connect(current, &QAbstractEventDispatcher::aboutToBlock, &reader,
                     [this] { spentThisTurn = {}; });
}

FolderReader& FolderReader::shared() {
    static FolderReader* reader = new FolderReader;  // never destroyed: a worker may hang until the very end
    return *reader;
}

FolderReader::FolderReader() : _d(std::make_unique<Private>()) {
    _d->mailbox->reader = &_d->reader;
}

FolderReader::~FolderReader() {
    const std::lock_guard lock(_d->mailbox->mutex);
    _d->mailbox->reader = nullptr;
    _d->mailbox->late.clear();
}

void FolderReader::setRead(Read read, std::chrono::milliseconds budget) {
    _d->read = std::move(read);
    _d->budget = budget;
}

bool FolderReader::isFolder(const QString& path) {
    const auto status = contents(path, FolderDetail::status);
    return status && status->isFolder;
}

bool FolderReader::answersWithin(const QString& path, std::chrono::milliseconds patience) {
    const auto job =
        std::make_shared<FolderJob>(path, FolderDetail::status, _d->read, _d->linkStatus(), _d->mailbox);
    return _d->volumes->workersOfPath(path).workers->runUntil(job, Clock::now() + patience);
}

std::optional<FolderContents> FolderReader::contents(const QString& path, FolderDetail detail,
                                                     LateAnswer late) {
    _d->watchTurns();
    const Clock::time_point start = Clock::now();
    const auto workers = _d->volumes->workersOfPath(path).workers;
    const auto isJoined = [&](VolumeJob& each) {
        auto* visit = dynamic_cast<FolderJob*>(&each);
        if (visit == nullptr || !visit->isVisitTo(path, detail))
            return false;
        visit->addLateAnswer(std::move(late));
        return true;
    };
    if (workers->findJob(isJoined))
        return std::nullopt;

    const auto job = std::make_shared<FolderJob>(path, detail, _d->read, _d->linkStatus(), _d->mailbox);
    job->addLateAnswer(std::move(late));
    const bool isDone = workers->runUntil(job, start + _d->budget - _d->spentThisTurn);
    _d->spentThisTurn += Clock::now() - start;
    return isDone ? std::optional(job->takeContents()) : std::nullopt;
}

}  // namespace platform
