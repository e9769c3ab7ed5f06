// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace platform {

/// The mount folders of a mount table in the kernel's format, in its order, a path that is mounted over
/// repeated. Source: proc_pid_mountinfo(5); blanks, tabs, newlines and backslashes stand there as \040, \011,
/// \012 and \134.
std::vector<QString> mountFoldersFromTable(const QByteArray& mountinfo);

/// The mount folder that `path` (absolute) lies in, judged by the text of the paths alone; "/" when none
/// fits.
QString mountFolderOfPath(const std::vector<QString>& mountFolders, const QString& path);

/// The mount table of this process, read again only after the kernel says that it changed. Asks no volume and
/// does not block. One thread.
class MountTable {
 public:
    MountTable();

    /// For those who read the table in another way: whether it has changed since the last call of either
    /// function; so it has at the first.
    bool hasChanged();
    const std::vector<QString>& mountFolders();
    /// For waiting for the next change (POLLPRI), which is then told once.
    int descriptor() const { return _table.get(); }

 private:
    ScopedFileDescriptor _table;
    bool _isNew = true;
    std::vector<QString> _mountFolders;
};

}  // namespace platform
