// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/ShrinkingPass.h"

#include "decoder/Finish.h"
#include "decoder/regions/RegionSource.h"

#include <algorithm>
#include <cstring>

namespace decoder {

QSize ShrinkingPass::size() const {
    return sizeAtLevel(_pass->size(), _shift);
}

/// How many rows of the other pass make these many of ours.
int ShrinkingPass::rowsBelow(int rows) const {
    return std::min((_row + rows) << _shift, _pass->size().height()) - (_row << _shift);
}

bool ShrinkingPass::skip(InputDevice& device, int rows) {
    const bool done = _pass->skip(device, rowsBelow(rows));
    _row += rows;
    return done;
}

bool ShrinkingPass::read(InputDevice& device, QImage& into) {
    for (int y = 0; y < into.height(); ++y) {
        QImage rows(_pass->size().width(), rowsBelow(1), format());
        if (rows.isNull() || !_pass->read(device, rows))
            return false;
        const QImage row = scaledSmoothly(rows, {into.width(), 1}).convertToFormat(format());
        std::memcpy(into.scanLine(y), row.constScanLine(0), static_cast<std::size_t>(row.bytesPerLine()));
        ++_row;
    }
    return true;
}

}  // namespace decoder
