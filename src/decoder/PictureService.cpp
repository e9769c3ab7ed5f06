// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/PictureService.h"

#include "decoder/Decoding.h"
#include "decoder/LoaderMessages.h"
#include "decoder/packing/PackedTexts.h"
#include "decoder/service/SharedMemory.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <algorithm>
#include <cstring>
#include <memory>

namespace decoder {

namespace {

/// Drawings need fonts, and those an application with a display: the one that shows nothing and costs least.
std::unique_ptr<QCoreApplication> makeApplication(Role role, int& argc, char** argv) {
    if (role != Role::rare)
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "minimal:enable_fonts");
    return std::make_unique<QGuiApplication>(argc, argv);
}

void setFailure(Response& response, Status status, const QByteArray& message) {
    response.status = status;
    const auto length =
        std::min<std::size_t>(static_cast<std::size_t>(message.size()), sizeof response.message - 1);
    std::memcpy(response.message, message.constData(), length);
}

std::span<const std::byte> bytesOf(const void* bytes, qsizetype size) {
    return {static_cast<const std::byte*>(bytes), static_cast<std::size_t>(size)};
}

/// The picture's pixels and texts, its figures in `response`.
platform::ScopedFileDescriptor share(const Picture& picture, Response& response) {
    const QImage& image = picture.image;
    const QByteArray texts = packTexts(picture.texts);
    auto memory = sharedMemory(
        {bytesOf(image.constBits(), image.sizeInBytes()), bytesOf(texts.constData(), texts.size())});
    if (!memory.isValid()) {
        setFailure(response, Status::tooLarge, "no memory for the picture");
        return memory;
    }
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
    auto memory = sharedMemory({bytesOf(properties.bytes.constData(), properties.bytes.size())});
    if (!memory.isValid()) {
        setFailure(response, Status::tooLarge, "no memory for the properties");
        return memory;
    }
    response.status = Status::properties;
    response.textBytes = static_cast<std::uint64_t>(properties.bytes.size());
    return memory;
}

class PictureService : public Service {
 public:
    explicit PictureService(std::unique_ptr<QCoreApplication> application)
        : _application(std::move(application)) {}

    platform::ScopedFileDescriptor answer(const Request& request, int file, Response& response) override {
        const Result result = decode(request, file);
        if (const auto* picture = std::get_if<Picture>(&result))
            return share(*picture, response);
        if (const auto* properties = std::get_if<PackedProperties>(&result))
            return share(*properties, response);
        const auto& failure = std::get<Failure>(result);
        setFailure(response, failure.status, failure.message);
        return platform::ScopedFileDescriptor();
    }
    void rest() override { forgetKeptPictures(); }

 private:
    const std::unique_ptr<QCoreApplication> _application;
};

}  // namespace

}  // namespace decoder

extern "C" __attribute__((visibility("default"))) decoder::Service* tavlinDecoding(decoder::Role role,
                                                                                   int& argc, char** argv) {
    decoder::collectLoaderMessages();
    auto application = decoder::makeApplication(role, argc, argv);
    if (!decoder::prepare(role))
        return nullptr;
    return new decoder::PictureService(std::move(application));
}
