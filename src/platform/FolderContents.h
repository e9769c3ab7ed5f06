// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/FileAccess.h"

#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace platform {

/// One entry of a folder, as the places outline needs it.
struct FolderEntry {
    QString name;
    bool exists = false;    ///< links followed
    bool isFolder = false;  ///< links followed
    bool isHidden = false;  ///< its name starts with a dot
    /// Seconds since 1970 of the entry itself, not of what a link leads to; nothing when it cannot be asked.
    std::optional<double> modificationTime;
};

/// What one visit tells of a folder.
struct FolderContents {
    bool isFolder = false;                   ///< an existing folder, links followed
    std::optional<double> modificationTime;  ///< of the path itself, in seconds since 1970
    bool isListed = false;                   ///< false where the listing was not asked for, or failed
    std::vector<FolderEntry> entries;        ///< in the order of the user's language
};

enum class FolderDetail {
    status,      ///< no listing
    subfolders,  ///< the visible folders alone: the files of a huge folder are neither asked nor sorted
    everyEntry,
};

/// Tells where a link leads, given its path; nothing where it leads nowhere, or to no answer.
using LinkStatus = std::function<std::optional<FileStatus>(const QString& link)>;

/// Visits a folder. Any thread; blocks as long as the folder's file system does, and as `linkStatus` does for
/// the links in it (without one, as long as what they lead to does).
FolderContents readFolder(const QString& path, FolderDetail detail, const LinkStatus& linkStatus = {});

}  // namespace platform
