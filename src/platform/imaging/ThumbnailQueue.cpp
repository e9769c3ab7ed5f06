// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailQueue.h"

#include "platform/imaging/DecoderProcess.h"
#include "platform/imaging/ThumbnailCache.h"
#include "platform/imaging/ThumbnailWorkers.h"
#include "platform/PathBytes.h"

#include <QElapsedTimer>
#include <QHash>
#include <QMetaObject>
#include <QTimer>

#include <algorithm>
#include <deque>
#include <utility>

namespace platform {

namespace {

/// The longest that reports keep the main thread in one turn of its loop.
constexpr qint64 turnMilliseconds = 4;
// Where decoders rest, or there is no thread, what stands is wished again: first after so long, then after
// twice as long each time.
constexpr std::chrono::milliseconds asksAgainAfter{1500};
constexpr std::chrono::milliseconds asksAgainAtLeastEvery{60'000};

struct Wish {
    int pixelSize = 0;
    ThumbnailRank rank;
    bool isVisible = false;
    bool isAnswered = false;
};

}  // namespace

struct ThumbnailQueue::Private {
    ThumbnailQueue* queue;
    ThumbnailCache cache;
    QHash<QString, Wish> wishes;
    bool isVisibleOpen = false;  ///< visibleAnswered() is due
    std::uint64_t wishesCount = 0;
    std::uint64_t checkFrom = 0;  ///< what was looked at for earlier wishes is looked at again
    std::deque<QString> changed;  ///< to be reported
    std::unique_ptr<ThumbnailWorkers> workers;
    QTimer unwantedTimer;  ///< runs out once the wishes have stood for a while
    QTimer unaskedTimer;   ///< runs where some of them found no decoder, or nobody to ask one

    void makeWorkers();
    void replaceWishes(const std::vector<ThumbnailRequest>& visible,
                       const std::vector<ThumbnailRequest>& near);
    void addWish(ThumbnailRequest request, bool isVisible, std::vector<ThumbnailJob>& jobs);
    void absorbAnswers();
    void absorb(ThumbnailAnswer& answer);
    void askAgain();
    void losePatience();
    void report();
    void tellOfVisible();
};

void ThumbnailQueue::Private::makeWorkers() {
    if (!workers)
        workers = std::make_unique<ThumbnailWorkers>(DecoderProcess::installedProgram(), [it = queue] {
            QMetaObject::invokeMethod(it, &ThumbnailQueue::report, Qt::QueuedConnection);
        });
}

void ThumbnailQueue::Private::replaceWishes(const std::vector<ThumbnailRequest>& visible,
                                            const std::vector<ThumbnailRequest>& near) {
    absorbAnswers();
    wishes.clear();
    ++wishesCount;
    std::vector<ThumbnailJob> visibleJobs;
    for (const ThumbnailRequest& request : visible)
        addWish(request, true, visibleJobs);
    std::vector<ThumbnailJob> nearJobs;
    for (const ThumbnailRequest& request : near)
        addWish(request, false, nearJobs);
    if (!workers && visibleJobs.empty() && nearJobs.empty())
        return;
    isVisibleOpen = isVisibleOpen || !visibleJobs.empty();
    makeWorkers();
    if (!workers->setJobs(std::move(visibleJobs), std::move(nearJobs)))
        unaskedTimer.start();
    unwantedTimer.start();
}

/// Notes the wish, unless a more urgent one stands for the path, and what work it makes.
void ThumbnailQueue::Private::addWish(ThumbnailRequest request, bool isVisible,
                                      std::vector<ThumbnailJob>& jobs) {
    if (request.path.isEmpty() || wishes.contains(request.path))
        return;
    request.pixelSize = std::clamp(request.pixelSize, 1, DecodeRequest::maximumPixelSize);
    const ThumbnailRank rank{wishesCount, static_cast<std::size_t>(wishes.size())};
    cache.rank(request.path, rank);
    const ThumbnailCache::Entry* entry = cache.find(request.path);
    const bool isAtHand = entry && entry->serves(request.pixelSize) && !entry->isUnasked;
    const bool isServed = isAtHand && entry->checkedFor >= checkFrom;
    wishes.insert(request.path, Wish{request.pixelSize, rank, isVisible, isServed});
    if (isServed)
        return;

    ThumbnailJob job{std::move(request), rank, ThumbnailJob::Effort::whole, {}, !entry, checkFrom};
    if (isAtHand && !entry->mayPass)
        job.atHand = entry->version;
    const bool hasPreview = entry && entry->thumbnail.state == Thumbnail::State::preview;
    if (isVisible && !hasPreview)
        job.effort = ThumbnailJob::Effort::firstSight;
    jobs.push_back(std::move(job));
}

void ThumbnailQueue::Private::absorbAnswers() {
    if (!workers)
        return;
    for (ThumbnailAnswer& answer : workers->takeAnswers())
        absorb(answer);
}

void ThumbnailQueue::Private::absorb(ThumbnailAnswer& answer) {
    const QString& path = answer.request.path;
    const auto wish = wishes.find(path);
    const bool stands = wish != wishes.end() && !wish->isAnswered &&
                        wish->pixelSize == answer.request.pixelSize &&
                        wish->rank.wishes == answer.rank.wishes;
    const ThumbnailCache::Entry* old = cache.find(path);
    const bool isShown = old && old->thumbnail.state != Thumbnail::State::preview;
    const Thumbnail::State state = answer.entry.thumbnail.state;

    if (state == Thumbnail::State::complete)
        losePatience();
    const bool isFinal = state != Thumbnail::State::preview;
    if (stands && isFinal)
        wish->isAnswered = true;
    answer.entry.checkedFor = answer.rank.wishes;
    if (state == Thumbnail::State::unknown)
        return cache.noteChecked(path, answer.entry.version, answer.rank.wishes);
    if ((!stands && isShown) || (!isFinal && old))
        return;
    if (stands && answer.entry.isUnasked && !unaskedTimer.isActive())
        unaskedTimer.start();
    cache.insert(path, std::move(answer.entry), stands ? wish->rank : answer.rank);
    if (stands && std::find(changed.begin(), changed.end(), path) == changed.end())
        changed.push_back(path);
}

/// Wishes the same once more, in the same order: what has been served makes no work.
void ThumbnailQueue::Private::askAgain() {
    unaskedTimer.setInterval(
        std::min<std::chrono::milliseconds>(unaskedTimer.intervalAsDuration() * 2, asksAgainAtLeastEvery));
    QStringList paths = wishes.keys();
    std::sort(paths.begin(), paths.end(),
              [this](const QString& a, const QString& b) { return wishes[a].rank > wishes[b].rank; });
    std::vector<ThumbnailRequest> visible;
    std::vector<ThumbnailRequest> near;
    for (const QString& path : paths) {
        const Wish& wish = wishes[path];
        (wish.isVisible ? visible : near).push_back({path, wish.pixelSize});
    }
    replaceWishes(visible, near);
}

/// Decoders serve again, or somebody looks: what found none does not wait for long any more.
void ThumbnailQueue::Private::losePatience() {
    if (unaskedTimer.intervalAsDuration() != asksAgainAfter)
        unaskedTimer.setInterval(asksAgainAfter);  // also of one that runs
}

void ThumbnailQueue::Private::report() {
    absorbAnswers();
    QElapsedTimer turn;
    turn.start();
    while (!changed.empty() && turn.elapsed() < turnMilliseconds) {
        const QString path = std::move(changed.front());
        changed.pop_front();
        if (wishes.contains(path))
            Q_EMIT queue->thumbnailChanged(path);
    }
    if (!changed.empty())
        QMetaObject::invokeMethod(
            queue, [this] { report(); }, Qt::QueuedConnection);
    else
        tellOfVisible();
}

void ThumbnailQueue::Private::tellOfVisible() {
    const auto isOpen = [](const Wish& wish) {
        return wish.isVisible && !wish.isAnswered;
    };
    if (!isVisibleOpen || std::any_of(wishes.cbegin(), wishes.cend(), isOpen))
        return;
    isVisibleOpen = false;
    Q_EMIT queue->visibleAnswered();
}

ThumbnailQueue::ThumbnailQueue(QObject* parent) : QObject(parent), _d(std::make_unique<Private>()) {
    _d->queue = this;
    _d->unwantedTimer.setSingleShot(true);
    _d->unwantedTimer.setTimerType(Qt::PreciseTimer);
    _d->unwantedTimer.setInterval(ThumbnailWorkers::patienceWithUnwanted);
    _d->unaskedTimer.setSingleShot(true);
    _d->unaskedTimer.setInterval(asksAgainAfter);
    connect(&_d->unaskedTimer, &QTimer::timeout, this, [this] { _d->askAgain(); });
    connect(&_d->unwantedTimer, &QTimer::timeout, this, [this] { _d->workers->cancelUnwanted(); });
}

ThumbnailQueue::~ThumbnailQueue() = default;

void ThumbnailQueue::warmUp() {
    if (DecoderProcess::installedProgram().isEmpty())
        return;
    _d->makeWorkers();
    _d->workers->warmUp();
}

void ThumbnailQueue::report() {
    _d->report();
}

void ThumbnailQueue::setWanted(const std::vector<ThumbnailRequest>& visible,
                               const std::vector<ThumbnailRequest>& near, bool checkAgain) {
    _d->losePatience();
    if (checkAgain)
        _d->checkFrom = _d->wishesCount + 1;
    _d->replaceWishes(visible, near);
}

Thumbnail ThumbnailQueue::thumbnail(const QString& path) const {
    const ThumbnailCache::Entry* entry = _d->cache.find(path);
    return entry ? entry->thumbnail : Thumbnail{};
}

void ThumbnailQueue::setMemoryLimit(std::size_t bytes) {
    _d->cache.setLimit(bytes);
}

std::size_t ThumbnailQueue::memoryUse() const {
    return _d->cache.bytes();
}

void ThumbnailQueue::releaseFilesBelow(const QString& folder,
                                       std::chrono::steady_clock::time_point deadline) {
    if (_d->workers)
        _d->workers->dropBelow(folder, deadline);
    _d->absorbAnswers();
    _d->wishes.removeIf(
        [&](const QHash<QString, Wish>::iterator& wish) { return isBelowFolder(wish.key(), folder); });
}

}  // namespace platform

// Here, so that a test can put a queue of its own in the place of this one.
#include "moc_ThumbnailQueue.cpp"  // NOLINT(bugprone-suspicious-include): how automoc is told so
