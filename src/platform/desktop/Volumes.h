// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

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

/// One line of the mount table, as far as it decides what a user sees.
struct MountEntry {
    QString path;
    QByteArray device;          ///< what is mounted: "/dev/sdb1", "server:/share", "tmpfs"
    QByteArray options;         ///< separated by commas, the user-space ones (x-…) included
    bool isLikelySeen = false;  ///< what GIO guesses from the path
};

/// The rules of mountedVolumes() alone: `labels` names devices. A folder that is mounted over counts once, in
/// its first place, as its last mount says. The root is there even if the table lacks it.
QList<Volume> visibleVolumes(const QList<MountEntry>& mountTable, const QHash<QByteArray, QString>& labels);

}  // namespace platform
