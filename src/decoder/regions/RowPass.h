// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QSize>

namespace decoder {

class InputDevice;

/// One way through a picture that can only be read from top to bottom, at one level. It keeps its place
/// between calls, but no device.
class RowPass {
 public:
    virtual ~RowPass() = default;

    virtual QSize size() const = 0;
    virtual QImage::Format format() const = 0;
    /// Passes over rows, as cheaply as the format allows; false where it is damaged.
    virtual bool skip(InputDevice& device, int rows) = 0;
    /// Fills `into`, which is as wide as the picture and has its format, with the next rows.
    virtual bool read(InputDevice& device, QImage& into) = 0;
};

}  // namespace decoder
