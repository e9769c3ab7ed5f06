// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/DecoderAnswers.h"

#include "decoder/packing/PackedProperties.h"
#include "decoder/packing/PackedTexts.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>

namespace platform {

namespace {

using decoder::Response;

/// A picture of fewer bytes is copied, as a mapping costs the process one of its 65,530.
constexpr std::uint64_t kSmallestMapping = 1 << 16;

struct Mapping {
    void* address;
    std::size_t size;
};

void unmap(void* info) {
    const std::unique_ptr<Mapping> mapping(static_cast<Mapping*>(info));
    ::munmap(mapping->address, mapping->size);
}

decoder::RequestKind protocolKind(DecodeRequest::Kind kind) {
    switch (kind) {
        case DecodeRequest::Kind::embeddedPreview:
            return decoder::RequestKind::embeddedPreview;
        case DecodeRequest::Kind::storedThumbnail:
            return decoder::RequestKind::storedThumbnail;
        case DecodeRequest::Kind::properties:
            return decoder::RequestKind::properties;
        case DecodeRequest::Kind::region:
            return decoder::RequestKind::region;
        case DecodeRequest::Kind::frame:
            return decoder::RequestKind::frame;
        case DecodeRequest::Kind::thumbnail:
            break;
    }
    return decoder::RequestKind::thumbnail;
}

decoder::Rectangle rectangle(const QRect& rect) {
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

}  // namespace

decoder::Request messageOf(const DecodeRequest& request) {
    decoder::Request message;
    message.kind = protocolKind(request.kind);
    message.pixelSize = request.pixelSize;
    message.level = request.level;
    message.region = rectangle(request.region);
    message.interest = rectangle(request.interest);
    message.frame = request.frame;
    return message;
}

bool isSane(const DecodeRequest& request) {
    return request.descriptor >= 0 && request.pixelSize >= 1 &&
           request.pixelSize <= decoder::kMaximumPixelSize && request.frame >= 0 &&
           (request.kind != DecodeRequest::Kind::region || decoder::isSaneRegion(messageOf(request)));
}

bool isAsAsked(const Response& response, const DecodeRequest& request) {
    if (request.kind == DecodeRequest::Kind::frame)
        return request.frame < response.frameCount;
    return request.kind != DecodeRequest::Kind::region ||
           decoder::Size{response.width, response.height} ==
               decoder::regionAnswerSize(rectangle(request.region), request.level);
}

QString loaderMessage(const Response& response) {
    const auto* end = std::find(std::begin(response.message), std::end(response.message), '\0');
    QString text = QString::fromUtf8(response.message, end - response.message);
    for (QChar& character : text) {
        if (!character.isPrint())
            character = u' ';
    }
    return text.trimmed();
}

std::optional<DecodedPicture> pictureOf(const Response& response, int descriptor, int maximumSide) {
    const auto layout = decoder::checkedLayout(response, maximumSide);
    if (!layout || !decoder::isSealedMemory(descriptor, layout->totalBytes))
        return std::nullopt;
    const auto size = static_cast<std::size_t>(layout->totalBytes);
    void* address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (address == MAP_FAILED)
        return std::nullopt;
    auto mapping = std::make_unique<Mapping>(Mapping{address, size});
    const auto* bytes = static_cast<const uchar*>(address);
    const auto format = response.format == decoder::PixelFormat::rgb32 ? QImage::Format_RGB32
                                                                       : QImage::Format_ARGB32_Premultiplied;

    DecodedPicture picture;
    const auto texts = decoder::unpackTexts(
        QByteArrayView(bytes + layout->pixelBytes, static_cast<qsizetype>(response.textBytes)));
    const QImage image(bytes, response.width, response.height, response.stride, format, unmap,
                       mapping.release());
    if (!texts || image.isNull())
        return std::nullopt;
    picture.texts = *texts;
    picture.image = layout->totalBytes < kSmallestMapping ? image.copy() : image;
    picture.fullSize = QSize(response.fullWidth, response.fullHeight);
    picture.frameCount = response.frameCount;
    picture.delay = std::chrono::milliseconds(response.delay);
    picture.loops = response.loops;
    return picture;
}

std::optional<DecodedProperties> propertiesOf(const Response& response, int descriptor) {
    if (response.textBytes < 1 || response.textBytes > decoder::kMaximumPackedProperties ||
        !decoder::isSealedMemory(descriptor, response.textBytes))
        return std::nullopt;
    QByteArray bytes(static_cast<qsizetype>(response.textBytes), Qt::Uninitialized);
    if (::pread(descriptor, bytes.data(), response.textBytes, 0) != bytes.size())
        return std::nullopt;
    auto properties = decoder::unpackProperties(bytes);
    return properties ? std::optional(DecodedProperties{std::move(*properties)}) : std::nullopt;
}

}  // namespace platform
