// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

/// Shows the busy pointer over every window for as long as it lives. Main thread.
class BusyPointer {
 public:
    BusyPointer();
    ~BusyPointer();
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
};

}  // namespace platform
