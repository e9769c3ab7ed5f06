// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/regions/SequentialRegions.h"

#include <memory>

namespace decoder {

/// Opens a PNG for regions; null where it is interlaced, and so has no rows before it has all, or is no PNG.
std::unique_ptr<SequentialRegions> openPngRegions(InputDevice& device,
                                                  QImageIOHandler::Transformations transformation);

/// An interlaced PNG made of its first passes alone, at least as large as asked where it fits the bound of
/// bytes: every eighth pixel of its rows and columns, every fourth, every second or all of them, with the
/// profile. A null image where it is damaged, not interlaced, or has rows too long even so.
QImage coarseInterlacedPng(InputDevice& device, int pixelSize, qsizetype bound = 256 << 20);

}  // namespace decoder
