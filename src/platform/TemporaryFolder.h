// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace platform {

/// The process's own temporary folder, with a slash at its end: made at first use below TMPDIR,
/// where that is a whole path, or /tmp (0700), so that neither another user nor a second copy of the program
/// can meet its fixed file names. A null string when none can be made. Main thread.
QString temporaryFolder();

/// Removes it with all that is in it: at the end of the program.
void removeTemporaryFolder();

}  // namespace platform
