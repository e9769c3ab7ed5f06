// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/protocol/Protocol.h"

namespace decoder {

/// Takes from this process, for good, whatever it does not need for decoding what it is handed. Two
/// mechanisms of the kernel do so, each complete in what matters most, so that where one is missing the other
/// still stands: FileRights.h (Landlock) and SystemCallFilter.h (seccomp).
///
/// Call after setLimits(), and once all libraries, plugins and fonts are loaded: no file can be opened any
/// more. Answers those of `wanted` that hold from now on.
///
/// Under the sanitizers nothing is confined, as they read /proc and trace their own process at its end.
Protections confine(Protections wanted);

/// Whether this build can be confined: it was made without sanitizers.
bool canBeConfined();

}  // namespace decoder
