// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

/// Gives every line of the system log (standard error) its header: time, the program's name and process id,
/// and the category where it has one of its own. Once, at start-up, before the first line.
void installMessagePattern();

}  // namespace platform
