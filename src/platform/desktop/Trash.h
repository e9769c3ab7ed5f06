// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <variant>
#include <vector>

namespace platform {

/// Where a removed file is now, and where it came from. A value: it is what undo needs.
struct TrashedItem {
    QString originalPath;
    QString trashFolder;  ///< the folder that holds "files" and "info"
    QByteArray name;      ///< the item's name within "files"; its information is "info/<name>.trashinfo"

    QString trashedPath() const;
    QString infoPath() const;
};

/// Why a file stayed where it was.
struct TrashFailure {
    int error = 0;    ///< an errno value
    QString message;  ///< which step failed, for the log
};

using TrashResult = std::variant<TrashedItem, TrashFailure>;

/// Moves a file, a folder or a link (the link itself) to the trash of its volume, after the freedesktop.org
/// Trash specification 1.0: the home trash on the home's mount, otherwise ".Trash/<uid>" where an
/// administrator made it (sticky, no link), otherwise ".Trash-<uid>" at the mount's top. The information file
/// is created exclusively, written whole and synced before the file moves by a rename that replaces nothing;
/// it is removed again if that fails. Nothing is ever copied across devices or deleted: afterwards the item
/// is in the trash with a right restore path, or it is untouched. Synchronous; any thread.
TrashResult moveToTrash(const QString& path);

/// Waits until the moves themselves are on the disk: each folder that they touched is synced once.
void syncMoves(const std::vector<TrashedItem>& items);

/// Moves an item back to where it was, never over an existing file, and removes its information. Answers the
/// failure, if any; the item is then still in the trash.
std::variant<std::monostate, TrashFailure> restoreFromTrash(const TrashedItem& item);

}  // namespace platform
