// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace decoder {

// Exit codes.
inline constexpr int kCannotBeTested = 77;
inline constexpr int kMisused = 64;  ///< EX_USAGE of sysexits(3)
inline constexpr int kNoPlace = 73;  ///< EX_CANTCREAT

/// Tries whatever a decoder that was taken over might try, each in a process of its own that is confined as
/// decoders are, and prints what became of it. `option` says what is tested:
///
/// nothing                      all that is held against a decoder; EXIT_SUCCESS when every attempt fails
/// --unconfined                 the same attempts with nothing held against them; fails, or they are none
/// --only-file-rights           Landlock alone, by the attempts that it must foil in this kernel's version of
/// it
/// --only-system-call-filter    seccomp alone
///
/// Answers the exit code: kCannotBeTested where the build or the kernel lacks what is to be tested, kNoPlace
/// where the files and sockets that the attempts aim at cannot be made, kMisused for an option that there is
/// not.
int selfTest(std::string_view option);

}  // namespace decoder
