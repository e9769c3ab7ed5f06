// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/protocol/Protocol.h"
#include "decoder/Result.h"

namespace decoder {

/// Loads everything that this role needs, so that no file is looked for once requests are served; false when
/// that is impossible. Call once, before the first decode().
bool prepare(Role role);

/// Does what a request asks with the open file; whatever the file holds, this answers, or runs into the
/// process's limits.
Result decode(const Request& request, int descriptor);

/// Gives back the memory of the pictures that are kept for further regions or frames of them.
void forgetKeptPictures();

}  // namespace decoder
