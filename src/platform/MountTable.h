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

    const std::vector<QString>& mountFolders();

 private:
    ScopedFileDescriptor _table;
    bool _isRead = false;
    std::vector<QString> _mountFolders;
};

}  // namespace platform
