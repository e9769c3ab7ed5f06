// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/regions/RowPass.h"

#include <memory>

namespace decoder {

/// A pass at a smaller level than its decoder offers: each pixel is the mean of a square of the other's.
class ShrinkingPass : public RowPass {
 public:
    /// `shift`: how many levels smaller.
    ShrinkingPass(std::unique_ptr<RowPass> pass, int shift) : _pass(std::move(pass)), _shift(shift) {}

    QSize size() const override;
    QImage::Format format() const override { return _pass->format(); }
    bool skip(InputDevice& device, int rows) override;
    bool read(InputDevice& device, QImage& into) override;

 private:
    int rowsBelow(int rows) const;

    std::unique_ptr<RowPass> _pass;
    const int _shift;
    int _row = 0;
};

}  // namespace decoder
