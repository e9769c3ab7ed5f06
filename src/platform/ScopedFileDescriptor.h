// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

/// Owns one file descriptor and closes it; -1 for none. Movable, so that it can be handed to a worker.
class ScopedFileDescriptor {
 public:
    explicit ScopedFileDescriptor(int descriptor = -1) : _descriptor(descriptor) {}
    ScopedFileDescriptor(ScopedFileDescriptor&& other) noexcept : _descriptor(other.release()) {}
    ScopedFileDescriptor& operator=(ScopedFileDescriptor&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ScopedFileDescriptor(const ScopedFileDescriptor&) = delete;
    ScopedFileDescriptor& operator=(const ScopedFileDescriptor&) = delete;
    ~ScopedFileDescriptor() { reset(); }

    int get() const { return _descriptor; }
    bool isValid() const { return _descriptor >= 0; }
    int release() { return std::exchange(_descriptor, -1); }
    void reset(int descriptor = -1) {
        if (_descriptor >= 0)
            ::close(_descriptor);
        _descriptor = descriptor;
    }

 private:
    int _descriptor;
};

}  // namespace platform
