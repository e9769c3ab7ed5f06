// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/Decoding.h"
#include "decoder/LoaderMessages.h"

#include <cstdio>

/// Makes this process a common decoder. What libraries say of damaged files is dropped, unless a sanitizer
/// speaks there.
inline bool prepareCommonRole() {
    decoder::collectLoaderMessages();
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    if (!std::freopen("/dev/null", "w", stderr))
        return false;
#endif
    return decoder::prepare(decoder::Role::common);
}
