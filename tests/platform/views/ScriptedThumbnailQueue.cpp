// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridTestParts.h"

namespace platform {

struct ThumbnailQueue::Private {};

ThumbnailQueue::ThumbnailQueue(QObject* parent) : QObject(parent) {
    QueueScript::shared() = {};
}
ThumbnailQueue::~ThumbnailQueue() = default;

void ThumbnailQueue::setWanted(const std::vector<ThumbnailRequest>& visible,
                               const std::vector<ThumbnailRequest>& near, bool checkAgain) {
    QueueScript& script = QueueScript::shared();
    script.visible = visible;
    script.near = near;
    ++script.wishCount;
    script.checkCount += checkAgain ? 1 : 0;
}

Thumbnail ThumbnailQueue::thumbnail(const QString& path) const {
    return QueueScript::shared().known.value(path);
}

}  // namespace platform
