// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/FileRights.h"

#include "platform/ScopedFileDescriptor.h"

#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace decoder {

namespace {

/// The kernel's landlock_ruleset_attr as of ABI 6; the system's header may be older than its kernel. Source:
/// the kernel's Documentation/userspace-api/landlock.rst.
struct RulesetAttributes {
    std::uint64_t handledFileAccess = 0;
    std::uint64_t handledNetAccess = 0;
    std::uint64_t scoped = 0;
};

constexpr std::uint64_t lowestBits(unsigned number) {
    return (std::uint64_t{1} << number) - 1;
}

constexpr int kAbiOfNet = 4;
constexpr int kAbiOfScopes = 6;

/// All that a kernel of this ABI can deny. Each right of these fields has the next bit, so a number says all.
RulesetAttributes everythingOf(int abi) {
    RulesetAttributes all;
    all.handledFileAccess = lowestBits(13);  // execute, write, read, list, remove (2) and make (7 kinds)
    if (abi >= 2)
        all.handledFileAccess = lowestBits(14);  // link or rename into another folder
    if (abi >= 3)
        all.handledFileAccess = lowestBits(15);  // truncate
    if (abi >= 5)
        all.handledFileAccess = lowestBits(16);  // ioctl on devices
    if (abi >= kAbiOfNet)
        all.handledNetAccess = lowestBits(2);  // bind and connect TCP
    if (abi >= kAbiOfScopes)
        all.scoped = lowestBits(2);  // abstract sockets of others, signals to others
    return all;
}

/// An older kernel refuses a structure that is longer than its own.
std::size_t sizeOfAttributes(int abi) {
    if (abi >= kAbiOfScopes)
        return sizeof(RulesetAttributes);
    return abi >= kAbiOfNet ? offsetof(RulesetAttributes, scoped)
                            : offsetof(RulesetAttributes, handledNetAccess);
}

/// The number of links of this folder is that of the threads and two.
bool hasOneThread() {
    struct stat threads {};
    return ::stat("/proc/self/task", &threads) == 0 && threads.st_nlink == 3;
}

}  // namespace

int fileRightsVersion() {
    const auto abi = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    return static_cast<int>(std::max(abi, 0L));
}

bool giveUpFileRights() {
    const int abi = fileRightsVersion();
    if (abi < 1 || !hasOneThread())
        return false;
    const RulesetAttributes everything = everythingOf(abi);
    // Everything is handled and no rule allows any of it.
    const platform::ScopedFileDescriptor ruleset(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &everything, sizeOfAttributes(abi), 0)));
    return ruleset.isValid() && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

}  // namespace decoder
