// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Server.h"

#include "decoder/Decoding.h"
#include "decoder/protocol/SocketMessage.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace decoder {

namespace {

/// Without a request, after which what was kept for further ones is given back.
constexpr int kRestMilliseconds = 20'000;

bool writeAll(int descriptor, const void* bytes, std::size_t size) {
    const auto* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t count = ::write(descriptor, next, size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        next += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

void setFailure(Response& response, Status status, const QByteArray& message) {
    response.status = status;
    const auto length =
        std::min<std::size_t>(static_cast<std::size_t>(message.size()), sizeof response.message - 1);
    std::memcpy(response.message, message.constData(), length);
}

/// The picture's pixels and texts in sealed memory, its figures in `response`; invalid without memory.
platform::ScopedFileDescriptor share(const Picture& picture, Response& response) {
    const QImage& image = picture.image;
    const QByteArray texts = packTexts(picture.texts);
    platform::ScopedFileDescriptor memory(::memfd_create("tavlin-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory.isValid() ||
        !writeAll(memory.get(), image.constBits(), static_cast<std::size_t>(image.sizeInBytes())) ||
        !writeAll(memory.get(), texts.constData(), static_cast<std::size_t>(texts.size())) ||
        !sealMemory(memory.get()))
        return platform::ScopedFileDescriptor();
    response.status = Status::picture;
    response.width = image.width();
    response.height = image.height();
    response.stride = static_cast<std::int32_t>(image.bytesPerLine());
    response.format =
        image.format() == QImage::Format_RGB32 ? PixelFormat::rgb32 : PixelFormat::argb32Premultiplied;
    response.fullWidth = picture.fullSize.width();
    response.fullHeight = picture.fullSize.height();
    response.textBytes = static_cast<std::uint64_t>(texts.size());
    response.frameCount = std::clamp(picture.frameCount, 1, kMaximumFrames);
    response.delay = std::max(picture.delay, 0);
    response.loops = std::max(picture.loops, -1);
    return memory;
}

/// The same for properties.
platform::ScopedFileDescriptor share(const PackedProperties& properties, Response& response) {
    const auto size = static_cast<std::size_t>(properties.bytes.size());
    platform::ScopedFileDescriptor memory(
        ::memfd_create("tavlin-properties", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory.isValid() || !writeAll(memory.get(), properties.bytes.constData(), size) ||
        !sealMemory(memory.get()))
        return platform::ScopedFileDescriptor();
    response.status = Status::properties;
    response.textBytes = size;
    return memory;
}

bool answer(int socket, std::uint64_t id, const Result& result) {
    Response response;
    response.id = id;
    platform::ScopedFileDescriptor memory;
    if (const auto* picture = std::get_if<Picture>(&result)) {
        memory = share(*picture, response);
        if (!memory.isValid())
            setFailure(response, Status::tooLarge, "no memory for the picture");
    } else if (const auto* properties = std::get_if<PackedProperties>(&result)) {
        memory = share(*properties, response);
        if (!memory.isValid())
            setFailure(response, Status::tooLarge, "no memory for the properties");
    } else {
        const auto& failure = std::get<Failure>(result);
        setFailure(response, failure.status, failure.message);
    }
    return sendMessage(socket, &response, sizeof response, memory.get(), Waiting::yes);
}

bool isSane(const Request& request, const ReceivedMessage& received) {
    return received.state == ReceivedMessage::State::message && received.size == sizeof request &&
           request.magic == kMagic && request.version == kVersion && request.pixelSize >= 1 &&
           request.pixelSize <= kMaximumPixelSize && request.frame >= 0 &&
           (request.kind != RequestKind::region || isSaneRegion(request)) && received.descriptor.isValid();
}

}  // namespace

int serve(int socket, Protections protections) {
    Response ready;
    ready.status = Status::ready;
    ready.protections = protections;
    if (!sendMessage(socket, &ready, sizeof ready, -1, Waiting::yes))
        return EXIT_FAILURE;
    while (true) {
        pollfd waited{socket, POLLIN, 0};
        if (::poll(&waited, 1, kRestMilliseconds) == 0)
            forgetKeptPictures();
        Request request;
        const ReceivedMessage received = receiveMessage(socket, &request, sizeof request, Waiting::yes);
        if (received.state == ReceivedMessage::State::closed)
            return EXIT_SUCCESS;
        if (!isSane(request, received))
            return EXIT_FAILURE;
        if (!answer(socket, request.id, decode(request, received.descriptor.get())))
            return EXIT_FAILURE;
    }
}

}  // namespace decoder
