// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

/// A control that holds one number, such as a slider: what its action's target asks it. Main thread only.
class Control {
 public:
    virtual ~Control() = default;
    /// The number in the range that the control was laid out with.
    virtual float floatValue() const = 0;
};

}  // namespace platform
