// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace decoder {

/// Makes this process die with the thread that started it, unable to gain rights, and polite: bounded memory,
/// processor time, file size and descriptors, no core dumps, a lower priority. Call first of all.
void setLimits();

}  // namespace decoder
