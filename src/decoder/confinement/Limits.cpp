// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/Limits.h"

#include <sys/prctl.h>
#include <sys/resource.h>

#include <csignal>

namespace decoder {

namespace {

// The largest picture that is decoded whole (1 GiB), a copy of it at half the depth, and the libraries.
constexpr rlim_t kAddressSpace = rlim_t(5) << 29;
constexpr rlim_t kFileSize = rlim_t(1) << 29;  // a memfd of 8192 × 8192 pixels is half of it
constexpr rlim_t kDescriptors = 64;
// Of a decoder's whole life, which its supervisor ends long before; for one that is left behind in a loop.
constexpr rlim_t kProcessorSeconds = 1800;
constexpr int kNiceness = 5;

void limit(__rlimit_resource resource, rlim_t value) {
    const rlimit both{value, value};
    ::setrlimit(resource, &both);
}

}  // namespace

void setLimits() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ::prctl(PR_SET_DUMPABLE, 0);
    ::setpriority(PRIO_PROCESS, 0, kNiceness);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, kFileSize);
    limit(RLIMIT_NOFILE, kDescriptors);
    limit(RLIMIT_CPU, kProcessorSeconds);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    limit(RLIMIT_AS, kAddressSpace);  // the sanitizers reserve terabytes of it
#endif
}

}  // namespace decoder
