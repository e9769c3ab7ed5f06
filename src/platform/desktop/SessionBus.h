// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

/// Sees to it that DBUS_SESSION_BUS_ADDRESS names the session's bus, or none where nobody has started one.
/// Without it the libraries would start a bus of their own, which would outlive the program. Sets the
/// environment: to be called before there is any thread.
void settleSessionBusAddress();

}  // namespace platform
