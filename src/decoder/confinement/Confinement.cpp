// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/Confinement.h"

#include "decoder/confinement/FileRights.h"
#include "decoder/confinement/SystemCallFilter.h"

namespace decoder {

bool canBeConfined() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#else
    return true;
#endif
}

Protections confine(Protections wanted) {
    Protections held = 0;
    if (!canBeConfined())
        return held;
    // In this order, as the filter allows no further restriction.
    if ((wanted & kFileRights) != 0 && giveUpFileRights())
        held |= kFileRights;
    if ((wanted & kSystemCallFilter) != 0 && filterSystemCalls())
        held |= kSystemCallFilter;
    return held;
}

}  // namespace decoder
