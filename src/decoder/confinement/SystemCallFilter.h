// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace decoder {

/// From now on only those system calls work that decoding needs, in all threads; false where the kernel has
/// no seccomp.
///
/// What a library may try and live without answers an error. What only a process would try that is no longer
/// its own master ends it. All the rest, and what kernels will have one day, is as if the kernel did not have
/// it, as the C library then falls back upon older calls.
///
/// What the filter does not cover: to learn of a file that it exists.
bool filterSystemCalls();

}  // namespace decoder
