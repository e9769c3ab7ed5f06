// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Recycler.h"

#include "platform/FolderReader.h"
#include "platform/PathBytes.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

namespace platform {

namespace {

Q_LOGGING_CATEGORY(trashLog, "tavlin.trash")

/// A disk that sleeps may take longer: then the next try finds it awake.
constexpr std::chrono::milliseconds patienceWithVolume(1000);

const TrashFailure silence{ETIMEDOUT, QStringLiteral("its volume does not answer")};

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
    _recycler._batches.push_back(std::exchange(_recycler._openBatch, {}));
}

/// What follows blocks the main thread: a volume that has fallen silent would hold it for ever.
bool Recycler::answers(const QString& folder) {
    auto known = _answering.find(folder);
    if (known == _answering.end())
        known = _answering.insert(folder, FolderReader::shared().answersWithin(folder, patienceWithVolume));
    return *known;
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

QStringList Recycler::undo() {
    QStringList restored;
    if (_batches.empty())
        return restored;
    const Items items = std::move(_batches.back());
    _batches.pop_back();
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        const bool answer = answers(pathByDeletingLastComponent(item->originalPath));
        const auto result = answer ? restoreFromTrash(*item) : silence;
        if (const auto* failure = std::get_if<TrashFailure>(&result))
            report(item->originalPath, "stays in the trash", *failure);
        else
            restored += item->originalPath;
    }
    _answering.clear();
    return restored;
}

}  // namespace platform
