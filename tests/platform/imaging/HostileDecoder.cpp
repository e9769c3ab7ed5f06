// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/protocol/Protocol.h"
#include "decoder/protocol/SocketMessage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

using namespace decoder;

namespace {

constexpr int kSide = 128;
constexpr std::size_t kGrowth = 20 << 20;  // bytes a request

/// Memory with these seals of a 128 × 128 picture, or `bytes` of it.
platform::ScopedFileDescriptor memory(std::size_t bytes, bool sealed) {
    platform::ScopedFileDescriptor descriptor(::memfd_create("hostile", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (::ftruncate(descriptor.get(), static_cast<off_t>(bytes)) != 0 ||
        (sealed && !sealMemory(descriptor.get())))
        std::abort();
    return descriptor;
}

Response rightResponse(std::uint64_t id) {
    Response response;
    response.status = Status::picture;
    response.id = id;
    response.width = response.height = response.fullWidth = response.fullHeight = kSide;
    response.stride = kSide * 4;
    response.format = PixelFormat::rgb32;
    return response;
}

void answer(const Response& response, int descriptor) {
    sendMessage(kSocketDescriptor, &response, sizeof response, descriptor, Waiting::yes);
}

/// Dies on the first request that this file has not seen yet, so that a second process gets on.
void dieOnce(int file) {
    struct stat status {};
    ::fstat(file, &status);
    if ((status.st_mode & S_IXUSR) == 0) {
        ::fchmod(file, status.st_mode | S_IXUSR);
        ::raise(SIGKILL);
    }
}

void misbehave(const std::string& mode, const Request& request, int file) {
    constexpr std::size_t kBytes = std::size_t(kSide) * kSide * 4;
    Response response = rightResponse(request.id);
    if (mode == "dies")
        ::raise(SIGKILL);
    if (mode == "hangs") {
        while (true)
            ::pause();
    }
    if (mode == "dies-once")
        dieOnce(file);
    if (mode == "wrong-stride")
        response.stride = kSide * 4 + 4;
    if (mode == "huge-stride")
        response.stride = 0x7ffffffc;
    if (mode == "negative-size")
        response.width = response.height = -kSide, response.stride = -kSide * 4;
    if (mode == "ready-again")
        response.status = Status::ready;
    if (mode == "grows")
        static_cast<void>(::mmap(nullptr, kGrowth, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0));
    if (mode == "huge-width")
        response.width = response.stride = 0x40000000;
    if (mode == "larger-than-asked")
        response.width = response.height = 1024, response.stride = 4096;
    if (mode == "unknown-status")
        response.status = Status(99);
    if (mode == "wrong-id")
        response.id += 1;
    if (mode == "huge-texts")
        response.textBytes = ~std::uint64_t(0) - kBytes + 1;
    if (mode == "garbled-texts")
        response.textBytes = 16;
    if (mode.ends_with("-properties")) {
        response.status = Status::properties;
        response.textBytes = mode == "huge-properties" ? std::uint64_t(1) << 40 : kBytes;
    }
    if (mode == "garbage") {
        const std::string garbage(1000, 'x');
        sendMessage(kSocketDescriptor, garbage.data(), garbage.size(), -1, Waiting::yes);
    } else if (mode == "ordinary-file") {
        answer(response, file);
    } else {
        const bool texts = mode == "garbled-texts";
        const std::size_t bytes = mode == "small-memory" ? kBytes - 1 : kBytes;
        auto pixels =
            memory(bytes + (texts ? 16 : 0), mode != "no-seals" && mode != "unsealed-properties" && !texts);
        if (texts) {
            const std::string garbage(16, '\xff');
            if (::pwrite(pixels.get(), garbage.data(), garbage.size(), kBytes) != 16 ||
                !sealMemory(pixels.get()))
                std::abort();
        }
        answer(response, pixels.get());
        for (int i = 0; mode == "talks-on" && i < 50; ++i)
            sendMessage(kSocketDescriptor, &response, sizeof response, pixels.get(), Waiting::no);
    }
}

}  // namespace

/// A decoder that breaks the protocol in the way that its own name says; "right" keeps to it.
int main(int, char** argv) {
    const std::string path = argv[0];
    const std::string mode = path.substr(path.rfind('/') + 1);
    if (mode == "never-ready")
        return EXIT_FAILURE;
    if (mode == "silent") {
        while (true)
            ::pause();
    }
    if (mode == "answers-unasked")
        answer(rightResponse(1), memory(std::size_t(kSide) * kSide * 4, true).get());
    Response ready;
    ready.status = Status::ready;
    answer(ready, -1);
    while (true) {
        Request request;
        const auto received = receiveMessage(kSocketDescriptor, &request, sizeof request, Waiting::yes);
        if (received.state != ReceivedMessage::State::message)
            return EXIT_SUCCESS;
        misbehave(mode, request, received.descriptor.get());
    }
}
