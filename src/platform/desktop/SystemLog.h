// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

/// From now on every line of the system log (standard error) has a header (time, the program's name and
/// process id, and the category where it has one of its own) and is written whole, whatever its length and
/// thread. Once, at start-up, before the first line.
void installSystemLog();

}  // namespace platform
