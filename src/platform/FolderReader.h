// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
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

/// Visits a folder. Any thread; blocks as long as the file system does.
FolderContents readFolder(const QString& path, FolderDetail detail);

/// Visits folders without ever holding up the main thread for long: a worker for each mounted volume does it,
/// and the caller waits for at most 40 ms in each turn of the event loop, all its calls together. A volume
/// that owes an answer is not waited for at all; what is asked of it queues behind. A worker that hangs in
/// the kernel is left alone: there is never more than one for a volume, and none is waited for at the end.
/// Belongs to the main thread.
class FolderReader {
 public:
    using Read = std::function<FolderContents(const QString& path, FolderDetail detail)>;
    static constexpr std::chrono::milliseconds turnBudget{40};

    /// What becomes of an answer that comes too late: `deliver` is called with it from the event loop while
    /// `owner` lives. When no owner lives any longer the visit itself is left out.
    struct LateAnswer {
        std::weak_ptr<const void> owner;
        std::function<void(const FolderContents& contents)> deliver;
    };

    static FolderReader& shared();

    explicit FolderReader(Read read = readFolder);
    ~FolderReader();
    FolderReader(const FolderReader&) = delete;
    FolderReader& operator=(const FolderReader&) = delete;

    /// The folder's contents, or nothing when they do not come in time; `late` is then used once.
    std::optional<FolderContents> contents(const QString& path, FolderDetail detail, LateAnswer late = {});

    /// Replaces what visits a folder and how long a turn may wait, for tests of slow places or on slow
    /// machines. Visits under way keep the former.
    void setRead(Read read, std::chrono::milliseconds budget = turnBudget);

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
