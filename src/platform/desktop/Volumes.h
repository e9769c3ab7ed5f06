// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

namespace platform {

/// A mounted volume that a user should see.
struct Volume {
    QString path;  ///< its mount folder, without a slash at the end but for "/"
    QString name;  ///< its label where known, otherwise the mount folder's name
    bool operator==(const Volume&) const = default;
};

/// The volumes a user should see: the root first, then in mount-table order those that GIO or the mount's own
/// options (x-gvfs-show, x-gvfs-hide, x-gvfs-name) say are to be shown. Main thread; asks no volume itself
/// and does not block.
QList<Volume> mountedVolumes();

}  // namespace platform
