// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/service/Service.h"

/// Decoding with the toolkit is a module of its own, as that alone takes most of a decoder's start: the
/// stored role does without.
namespace decoder {

/// The module's name beside the executable, and its function's.
inline constexpr const char* kDecodingModule = "tavlin-decoding.so";
inline constexpr const char* kDecodingFunction = "tavlinDecoding";

/// Makes the service of any role but the stored one, with everything loaded; the caller owns it, and may keep
/// one only. Null where something is missing.
using DecodingFunction = Service* (*)(Role role, int& argc, char** argv);

}  // namespace decoder
