// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Mounts of a test's own. enter() gives the process a private mount namespace and must run before any thread
/// is there; where that is not permitted it says why, and the tests that need mounts skip with it. The mounts
/// vanish with the process.
class MountSandbox {
 public:
    static void enter();
    /// Empty inside the sandbox, otherwise why there is none.
    static const QString& problem();

    /// Mounts a tmpfs, an ext4 image of so many MiB; false when it could not be done.
    static bool mountTmpfs(const QString& folder, const char* options = "");
    static bool mountExt4(const QString& folder, int mebibytes, const char* label = "tavlin");
    static bool remountReadOnly(const QString& folder);
    /// Takes the mount away from its folder at once, also while files of it are open.
    static bool unmount(const QString& folder);
};
