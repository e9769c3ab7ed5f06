// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace platform {

/// The current user's login name, as the system's user list has it; the user's number where it has none.
QString loginName();

/// The user's home folder, as the environment names it.
QString homeFolder();

/// Where the desktop keeps the user's pictures. It need not exist.
QString picturesFolder();

/// Where the user's programs keep their data (XDG data home), made with all its levels when it is not there.
QString dataHome();

}  // namespace platform
