// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/stored/StoredThumbnails.h"

#include "decoder/service/SharedMemory.h"
#include "decoder/stored/StoredPng.h"

#include <memory>
#include <new>

namespace decoder {

namespace {

platform::ScopedFileDescriptor read(int file, Response& response) {
    StoredPng png(file);
    if (!png.readHead()) {
        response.status = Status::damaged;
        return platform::ScopedFileDescriptor();
    }
    if (!png.isUsual()) {
        response.status = Status::otherRole;
        return platform::ScopedFileDescriptor();
    }
    const std::size_t count = std::size_t{png.width()} * png.height();
    const auto pixels = std::make_unique_for_overwrite<std::uint32_t[]>(count);
    if (!png.readRest(pixels.get())) {
        response.status = Status::damaged;
        return platform::ScopedFileDescriptor();
    }
    const std::string texts = png.packedTexts();
    auto memory =
        sharedMemory({std::as_bytes(std::span(pixels.get(), count)), std::as_bytes(std::span(texts))});
    response.status = memory.isValid() ? Status::picture : Status::tooLarge;
    response.width = response.fullWidth = static_cast<std::int32_t>(png.width());
    response.height = response.fullHeight = static_cast<std::int32_t>(png.height());
    response.stride = response.width * static_cast<std::int32_t>(sizeof(std::uint32_t));
    response.format = png.hasAlpha() ? PixelFormat::argb32Premultiplied : PixelFormat::rgb32;
    response.textBytes = texts.size();
    return memory;
}

}  // namespace

platform::ScopedFileDescriptor StoredThumbnails::answer(const Request& request, int file,
                                                        Response& response) {
    response.status = Status::otherRole;
    if (request.kind != RequestKind::storedThumbnail)
        return platform::ScopedFileDescriptor();
    try {
        return read(file, response);
    } catch (const std::bad_alloc&) {
        response.status = Status::tooLarge;
        return platform::ScopedFileDescriptor();
    }
}

}  // namespace decoder
