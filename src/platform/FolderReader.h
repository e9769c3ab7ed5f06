// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/FolderContents.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// Visits folders without ever holding up the main thread for long: workers for each mounted volume do it
/// (VolumeWorkers), and the caller waits for at most 40 ms in each turn of the event loop, all its calls
/// together. A volume whose workers are all late is not waited for at all. A link that leads to another
/// volume is asked of that volume's workers, so that a dead one hides the link and not the folder that it
/// stands in. Belongs to the main thread.
class FolderReader {
 public:
    using Read =
        std::function<FolderContents(const QString& path, FolderDetail detail, const LinkStatus& linkStatus)>;
    static constexpr std::chrono::milliseconds turnBudget{40};

    /// What becomes of an answer that comes too late: `deliver` is called with it from the event loop while
    /// `owner` lives. When no owner lives any longer the visit itself is left out.
    struct LateAnswer {
        std::weak_ptr<const void> owner;
        std::function<void(const FolderContents& contents)> deliver;
    };

    static FolderReader& shared();

    FolderReader();
    ~FolderReader();
    FolderReader(const FolderReader&) = delete;
    FolderReader& operator=(const FolderReader&) = delete;

    /// The folder's contents, or nothing when they do not come in time; `late` is then used once.
    std::optional<FolderContents> contents(const QString& path, FolderDetail detail, LateAnswer late = {});

    /// Whether a folder is at the path, as far as its place tells in time.
    bool isFolder(const QString& path);

    /// Whether the folder's volume tells anything of it within the given time: before calls that have to be
    /// made here and now.
    bool answersWithin(const QString& path, std::chrono::milliseconds patience);

    /// Replaces what visits a folder and how long a turn may wait, for tests of slow places or on slow
    /// machines. Visits under way keep the former.
    void setRead(Read read, std::chrono::milliseconds budget = turnBudget);

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
