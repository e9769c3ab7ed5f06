// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Recycler.h"

#include "platform/PathBytes.h"

#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace platform {

namespace {

Q_LOGGING_CATEGORY(trashLog, "tavlin.trash")

void report(const QString& path, const char* fate, const TrashFailure& failure) {
    qCWarning(trashLog, "\"%s\" %s: %s", qUtf8Printable(displayablePath(path)), fate,
              qUtf8Printable(failure.message));
}

}  // namespace

Recycler::Batch::Batch(Recycler& recycler) : _recycler(recycler) {
    ++_recycler._openDepth;
}

Recycler::Batch::~Batch() {
    if (--_recycler._openDepth > 0 || _recycler._openBatch.empty())
        return;
    syncMoves(_recycler._openBatch);
    _recycler._batches.push_back(std::exchange(_recycler._openBatch, {}));
}

int Recycler::recycle(const QString& path) {
    const Batch batch(*this);
    const TrashResult result = moveToTrash(path);
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
        const auto result = restoreFromTrash(*item);
        if (const auto* failure = std::get_if<TrashFailure>(&result))
            report(item->originalPath, "stays in the trash", *failure);
        else
            restored += item->originalPath;
    }
    return restored;
}

}  // namespace platform
