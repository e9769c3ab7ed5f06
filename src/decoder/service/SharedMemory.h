// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <cstddef>
#include <initializer_list>
#include <span>

namespace decoder {

/// Sealed memory that holds these bytes, one part after the other; invalid where the system has none left.
platform::ScopedFileDescriptor sharedMemory(std::initializer_list<std::span<const std::byte>> parts);

}  // namespace decoder
