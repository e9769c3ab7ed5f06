// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/service/Service.h"

namespace decoder {

/// Reads thumbnails as they usually are in the shared store: PNG files of 8 bits a sample, with or without
/// transparency, no larger than the standard's largest. All else is for the common role.
class StoredThumbnails : public Service {
 public:
    platform::ScopedFileDescriptor answer(const Request& request, int file, Response& response) override;
};

}  // namespace decoder
