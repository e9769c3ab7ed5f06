// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace decoder {

/// Gives up, by Landlock, every right over files, TCP ports, abstract sockets and other processes' signals
/// that the running kernel can take; descriptors that are open stay as they are. False where the kernel has
/// no Landlock, or the process has several threads already, of which only one would be bound.
///
/// What Landlock does not cover: to learn of a file that it exists, UDP, and new processes, which are bound
/// themselves.
bool giveUpFileRights();

/// The version of Landlock that the kernel has, 0 without it.
int fileRightsVersion();

}  // namespace decoder
