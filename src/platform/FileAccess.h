// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace platform {

/// The kind of a directory entry, as the directory itself tells it; `unknown` where the file system does not.
enum class EntryKind : std::uint8_t { unknown, regularFile, folder, link, other };

/// What one statx(2) tells of a file. Thread-safe value.
struct FileStatus {
    EntryKind kind = EntryKind::unknown;
    double modificationTime = 0;  ///< seconds since 1970-01-01 00:00 UTC, with their fraction
    std::int64_t modificationNanoseconds =
        0;                   ///< the same, exactly (between the years 1678 and 2262), to tell versions apart
    std::uint64_t size = 0;  ///< bytes
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint32_t mode = 0;
};

enum class FollowLinks : bool { no, yes };

/// The status of the file at `path`, or nothing when it cannot be told. Any thread; may block on a dead
/// volume.
std::optional<FileStatus> fileStatus(const QString& path, FollowLinks follow = FollowLinks::yes);

/// The same for a name within an open folder (no path look-up from the root), and for an open descriptor.
std::optional<FileStatus> fileStatusAt(int folderDescriptor, const char* name,
                                       FollowLinks follow = FollowLinks::yes);
std::optional<FileStatus> fileStatusOfDescriptor(int descriptor);

/// An absolute path without doubled slashes, "." and a slash at its end. Where it goes up by "..", the system
/// says where to, as that may lead through a link; the path's text alone, where nothing is there. May block
/// on a dead volume.
QString plainPath(const QString& path);

/// Whether an existing folder is at `path`, links followed.
bool isExistingFolder(const QString& path);

/// Opens a folder for listing (O_DIRECTORY); invalid when it cannot be opened.
ScopedFileDescriptor openFolder(const QString& path);

/// Calls `visit` with the bytes of each entry's name (no "." and "..", NUL-terminated) and its kind, in the
/// folder's own order, until it answers false. Answers false when the folder could not be read to its end.
/// The descriptor stays the caller's. Source: getdents64(2).
bool visitFolder(int folderDescriptor,
                 const std::function<bool(std::string_view name, EntryKind kind)>& visit);

/// Opens a regular file for reading; invalid for anything else, errno telling why. What is not one is not
/// opened at all (looked at by O_PATH first), so that no device wakes and no FIFO's writer goes on; only
/// without /proc a file that is replaced meanwhile may be, and even then nothing blocks.
ScopedFileDescriptor openRegularFile(const QString& path);

/// Writes all the bytes, in as many steps as the system wants; false when it refuses, errno telling why.
bool writeWhole(int descriptor, QByteArrayView bytes);

}  // namespace platform
