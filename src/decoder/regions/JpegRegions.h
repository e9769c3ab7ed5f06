// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/regions/RegionSource.h"
#include "decoder/regions/RowPass.h"

#include <memory>

namespace decoder {

/// Opens a JPEG for regions; null where it is none that libjpeg-turbo decodes.
std::unique_ptr<RegionSource> openJpegRegions(InputDevice& device);

}  // namespace decoder
