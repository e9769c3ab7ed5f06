// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/KeptFiles.h"
#include "decoder/Result.h"

namespace decoder {

/// Answers requests for an animation's frames, and keeps the files that were asked last with what has been
/// decoded of them, as a frame is made of the one before it. It holds their bytes and no descriptor.
class FrameKeeper {
 public:
    static constexpr qint64 kLargestFile = 64 << 20;     ///< bytes
    static constexpr qint64 kLargestFrame = 16'000'000;  ///< pixels

    FrameKeeper();
    ~FrameKeeper();

    /// Frame `index`, from 0, with its delay and the number of all; too large where the file or its frames
    /// pass the bounds. Frames are cheap in their order.
    Result frame(int index, InputDevice& device);
    /// Gives the memory back.
    void forget();

 private:
    struct Kept;

    KeptFiles<Kept> _files;
};

}  // namespace decoder
