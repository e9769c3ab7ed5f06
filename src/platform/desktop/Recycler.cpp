// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Recycler.h"

#include "platform/FileAccess.h"
#include "platform/FolderReader.h"
#include "platform/PathBytes.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <utility>

namespace platform {

namespace {

Q_LOGGING_CATEGORY(trashLog, "tavlin.trash")

/// A disk that sleeps may take longer: then the next try finds it awake.
constexpr std::chrono::milliseconds patienceWithVolume(1000);
/// Of further folders, once one has kept silent: they are most likely on the same volume.
constexpr std::chrono::milliseconds patienceAfterSilence(40);

const TrashFailure silence{ETIMEDOUT, QStringLiteral("its volume does not answer")};

/// Its trash is there, and does not hold it.
bool isGoneFromTrash(const TrashedItem& item) {
    return !fileStatus(item.trashedPath(), FollowLinks::no) &&
           isExistingFolder(pathByDeletingLastComponent(item.trashedPath()));
}

void report(const QString& path, const char* fate, const TrashFailure& failure) {
    qCWarning(trashLog, "\"%s\" %s: %s", qUtf8Printable(displayablePath(path)), fate,
              qUtf8Printable(failure.message));
}

}  // namespace

Recycler::Batch::Batch(Recycler& recycler) : _recycler(recycler) {
    ++_recycler._openDepth;
}

Recycler::Batch::~Batch() {
    if (--_recycler._openDepth > 0)
        return;
    _recycler._answering.clear();
    if (_recycler._openBatch.empty())
        return;
    syncMoves(_recycler._openBatch);
    _recycler._steps.push_back({std::exchange(_recycler._openBatch, {})});
}

/// What follows blocks the main thread: a volume that has fallen silent would hold it for ever.
bool Recycler::answers(const QString& folder) {
    const auto known = _answering.constFind(folder);
    if (known != _answering.cend())
        return *known;
    const bool hasMetSilence = std::find(_answering.cbegin(), _answering.cend(), false) != _answering.cend();
    const auto patience = hasMetSilence ? patienceAfterSilence : patienceWithVolume;
    return *_answering.insert(folder, FolderReader::shared().answersWithin(folder, patience));
}

int Recycler::recycle(const QString& path) {
    const Batch batch(*this);
    const TrashResult result = answers(pathByDeletingLastComponent(path)) ? moveToTrash(path) : silence;
    if (const auto* failure = std::get_if<TrashFailure>(&result)) {
        report(path, "was not moved to the trash", *failure);
        return -std::max(failure->error, 1);
    }
    _openBatch.push_back(std::get<TrashedItem>(result));
    return 0;
}

Restoring Recycler::undo() {
    Restoring restoring;
    std::vector<Step> left;
    bool goesOn = !_steps.empty();
    while (goesOn) {
        const Step step = std::move(_steps.back());
        _steps.pop_back();
        Items items = restore(step.items, restoring);
        goesOn = step.hasFailed && items.size() == step.items.size() && !_steps.empty();
        if (!items.empty())
            left.push_back({std::move(items), true});
    }
    std::move(left.rbegin(), left.rend(), std::back_inserter(_steps));
    _answering.clear();
    return restoring;
}

/// Answers what is still in the trash.
Recycler::Items Recycler::restore(const Items& items, Restoring& restoring) {
    Items left;
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        const bool answer = answers(pathByDeletingLastComponent(item->originalPath));
        const auto result = answer ? restoreFromTrash(*item) : silence;
        const auto* failure = std::get_if<TrashFailure>(&result);
        if (failure == nullptr) {
            restoring.restored += item->originalPath;
            continue;
        }
        const bool isGone = answer && isGoneFromTrash(*item);
        report(item->originalPath, isGone ? "is no longer in the trash" : "stays in the trash", *failure);
        restoring.failed.push_back({item->originalPath, failure->error, !isGone});
        if (!isGone)
            left.push_back(*item);
    }
    std::reverse(left.begin(), left.end());
    return left;
}

}  // namespace platform
