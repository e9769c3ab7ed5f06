// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DescriptorLimit.h"

#include "platform/FileAccess.h"

#include <sys/resource.h>

namespace platform {

namespace {

std::optional<rlim_t> inheritedLimit;  ///< where it was raised
int numberOfChildrenBeingMade = 0;

rlimit limitsNow() {
    rlimit limits{};
    ::getrlimit(RLIMIT_NOFILE, &limits);
    return limits;
}

void setLimit(rlim_t limit) {
    const rlimit limits{limit, limitsNow().rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &limits);
}

/// Whether below a limit as many descriptors are left as making a child takes, and other threads meanwhile.
bool isRoomBelow(rlim_t limit) {
    constexpr rlim_t kRoom = 128;
    rlim_t open = 0;
    const auto count = [&open](std::string_view, EntryKind) {
        ++open;
        return true;
    };
    return visitFolder(openFolder(QStringLiteral("/proc/self/fd")).get(), count) && open + kRoom <= limit;
}

}  // namespace

void raiseDescriptorLimit() {
    const rlimit limits = limitsNow();
    inheritedLimit = limits.rlim_cur;
    setLimit(limits.rlim_max);
}

std::optional<unsigned long> inheritedDescriptorLimit() {
    return inheritedLimit;
}

InheritedDescriptorLimit::InheritedDescriptorLimit() {
    if (inheritedLimit && numberOfChildrenBeingMade++ == 0 && isRoomBelow(*inheritedLimit))
        setLimit(*inheritedLimit);
}

InheritedDescriptorLimit::~InheritedDescriptorLimit() {
    if (inheritedLimit && --numberOfChildrenBeingMade == 0)
        setLimit(limitsNow().rlim_max);
}

}  // namespace platform
