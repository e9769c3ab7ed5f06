// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/service/SharedMemory.h"

#include "decoder/protocol/Protocol.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace decoder {

namespace {

bool writeAll(int descriptor, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace

platform::ScopedFileDescriptor sharedMemory(std::initializer_list<std::span<const std::byte>> parts) {
    platform::ScopedFileDescriptor memory(::memfd_create("tavlin-answer", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    bool isWhole = memory.isValid();
    for (const auto part : parts)
        isWhole = isWhole && writeAll(memory.get(), part);
    return isWhole && sealMemory(memory.get()) ? std::move(memory) : platform::ScopedFileDescriptor();
}

}  // namespace decoder
