// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/regions/SequentialRegions.h"

#include <memory>

namespace decoder {

/// Opens a PNG for regions; null where it is interlaced, and so has no rows before it has all, or is no PNG.
std::unique_ptr<SequentialRegions> openPngRegions(InputDevice& device,
                                                  QImageIOHandler::Transformations transformation);

}  // namespace decoder
