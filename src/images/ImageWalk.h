// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "images/ImageBatches.h"
#include "images/ImageObject.h"

#include "platform/FileAccess.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

/// Collects the items below a path into a list of its own. Belongs to one loading thread, but for stop(),
/// isStopped() and numberFound(), which any thread may call. Writes the debug log as ImageBrowserDataSource.
///
/// The walk goes depth first in the order of the folders' own listings, with a list of open folders instead
/// of recursion, so that depth costs neither stack nor descriptors: one folder is open at a time, beside the
/// few whose entries wait for their items. These are made on several threads (ImageBatches), while the debug
/// log is off: with it on all is done on the caller's, so that its lines keep their order.
///
/// It always ends: through a link a folder is entered once per walk, and never while the walk is inside that
/// very folder (told by device and inode). The kernel's own file systems (proc, sysfs) are descended into
/// only when the walk starts there.
class ImageWalk {
 public:
    /// The walk ends at the next entry; what it has collected is of no use then.
    void stop() { _isStopped.store(true, std::memory_order_relaxed); }
    bool isStopped() const { return _isStopped.load(std::memory_order_relaxed); }
    /// Items collected so far.
    std::size_t numberFound() const { return _batches.numberFound(); }

    /// A folder's entries, or with `recursive` all files below it; for anything else, the path itself.
    void addImagesWithPathRecursive(const QString& path, bool recursive);
    /// One item, unless the name begins with a dot.
    void addAnImageWithPath(const QString& path);

    /// What was collected; the walk is empty afterwards.
    ImageList takeImages() { return _batches.takeImages(); }

 private:
    using Identity = std::pair<std::uint64_t, std::uint64_t>;  ///< device and inode
    enum class Way { direct, throughLink };
    struct Entry {
        QByteArrayView name;  ///< NUL-terminated
        platform::EntryKind kind = platform::EntryKind::unknown;
    };
    /// A folder whose entries are being worked through.
    struct Folder {
        QString prefix;      ///< its path with the slash at its end
        QByteArray entries;  ///< for each a byte for its kind, its name, NUL
        qsizetype position = 0;
        Identity identity;
    };

    void workThroughFolders(bool recursive);
    static Entry nextEntry(Folder& folder);
    void addEntry(const Entry& entry, bool recursive);
    void addLeafEntry(const Entry& entry, const std::optional<platform::FileStatus>& known);
    void openLastFolder();
    void enterFolder(const QString& path, Way way);
    bool mayEnter(const platform::FileStatus& status, Way way);
    QString pathOfEntry(const Entry& entry) const;
    std::optional<platform::FileStatus> statusOfEntry(const Entry& entry, platform::FollowLinks follow);

    std::vector<Folder> _folders;
    ImageBatch::Descriptor _descriptor;  ///< of the last of _folders, while it is needed
    std::set<Identity> _enteredThroughLinks;
    long _startFileSystem = 0;  ///< statfs magic of the folder that the walk starts with
    bool _isLogging = false;    ///< asked once for each entry
    std::atomic<bool> _isStopped = false;
    ImageBatches _batches{_isStopped};
};
