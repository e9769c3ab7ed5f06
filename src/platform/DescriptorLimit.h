// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace platform {

/// Lets the process open as many files as the system allows it to at all. The toolkits end a process, or let
/// it hang, that can open no more, and the limit it starts with is often 1,024. Once, before any thread.
void raiseDescriptorLimit();

/// The limit the process was started with, where it has been raised: what its children are to have, as
/// programs that use select() cannot do with more.
std::optional<unsigned long> inheritedDescriptorLimit();

/// While one lives, that limit is the process's own, for a child to inherit that is made meanwhile. Other
/// threads can open nothing beyond it, so that it is not to last; a process that has come near it keeps its
/// own, as neither the child nor what a library needs meanwhile could be had. Main thread only.
class InheritedDescriptorLimit {
 public:
    InheritedDescriptorLimit();
    ~InheritedDescriptorLimit();
    InheritedDescriptorLimit(const InheritedDescriptorLimit&) = delete;
    InheritedDescriptorLimit& operator=(const InheritedDescriptorLimit&) = delete;
};

}  // namespace platform
