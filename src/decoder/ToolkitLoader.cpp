// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ToolkitLoader.h"

#include "decoder/DeclaredSize.h"
#include "decoder/Finish.h"
#include "decoder/IconDirectory.h"
#include "decoder/LoaderMessages.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QPixelFormat>

#include <algorithm>

namespace decoder {

namespace {

Failure failureOf(const QImageReader& reader) {
    const QByteArray said = takeLoaderMessage();
    const bool outOfMemory = said.contains("nsufficient memory") || said.contains("allocation limit") ||
                             said.contains("Maximum supported image dimension");
    return {outOfMemory ? Status::tooLarge : Status::damaged,
            said.isEmpty() ? reader.errorString().toUtf8() : said};
}

/// Whether decoding would need more than is allowed, told by the header alone.
bool isTooLarge(QSize size, Format format, QImage::Format pixels) {
    const qint64 count = qint64(size.width()) * size.height();
    if (format == Format::jpeg)
        return count > kMaximumPixels;
    const int bits = pixels == QImage::Format_Invalid ? 32 : QImage::toPixelFormat(pixels).bitsPerPixel();
    return count > kMaximumPixelBytes / std::max(4, bits / 8);
}

}  // namespace

const char* toolkitFormat(Format format) {
    switch (format) {
        case Format::jpeg:
            return "jpeg";
        case Format::png:
            return "png";
        case Format::gif:
            return "gif";
        case Format::webp:
            return "webp";
        case Format::tiff:
            return "tiff";
        case Format::bmp:
            return "bmp";
        case Format::ico:
            return "ico";
        case Format::portableMap:
            return "ppm";
        default:
            return nullptr;
    }
}

void loadToolkitFormats() {
    constexpr int kAllocationLimit = int(kMaximumPixelBytes >> 20);
    QImageReader::setAllocationLimit(kAllocationLimit);
    for (const char* format : {"jpeg", "png", "gif", "webp", "tiff", "bmp", "ico", "ppm"}) {
        QBuffer empty;
        empty.open(QIODevice::ReadOnly);
        QImageReader reader(&empty, format);
        reader.setAutoDetectImageFormat(false);
        reader.canRead();
    }
}

QSize sizeToBeRead(const QImageReader& reader, Format format) {
    const QSize declared =
        format == Format::gif ? declaredSize(format, reader.device()->peek(kHeadBytes)) : QSize();
    return declared.isEmpty() ? reader.size() : declared;
}

Result loadWithToolkit(QIODevice& device, Format format, const LoadOptions& options) {
    takeLoaderMessage();
    QImageReader reader(&device, toolkitFormat(format));
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(false);
    if (format == Format::ico)
        reader.jumpToImage(iconPictureFor(device.peek(kHeadBytes), options.pixelSize).index);
    const QSize fullSize = sizeToBeRead(reader, format);
    // One look through the file, which the toolkit takes for the size as well.
    const int frameCount = format == Format::gif || format == Format::webp ? reader.imageCount() : 1;
    if (fullSize.isValid() && isTooLarge(fullSize, format, reader.imageFormat()))
        return Failure{Status::tooLarge, {}};
    const auto transformation = options.transformation.value_or(reader.transformation());
    const bool scalesRightly = reader.imageFormat() != QImage::Format_RGBA64;  // see scaledSmoothly()
    if (scalesRightly && fullSize.isValid() && fittedSize(fullSize, options.pixelSize) != fullSize)
        reader.setScaledSize(fittedSize(fullSize, options.pixelSize));
    QImage image = reader.read();
    if (image.isNull())
        return failureOf(reader);
    const QSize shownSize = fullSize.isValid() ? fullSize : image.size();
    Result result = finish(std::move(image), shownSize, transformation, options.pixelSize);
    if (auto* picture = std::get_if<Picture>(&result))
        picture->frameCount = frameCount;
    return result;
}

Result loadStoredThumbnail(QIODevice& device) {
    takeLoaderMessage();
    QImageReader reader(&device, "png");
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    if (size.width() > kMaximumPixelSize || size.height() > kMaximumPixelSize)
        return Failure{Status::tooLarge, {}};
    const QImage image = reader.read();
    if (image.isNull())
        return failureOf(reader);
    Result result = finish(image, image.size(), QImageIOHandler::TransformationNone, kMaximumPixelSize);
    if (auto* picture = std::get_if<Picture>(&result)) {
        for (const QString& key : image.textKeys())
            picture->texts.insert(key.toUtf8(), image.text(key).toUtf8());
    }
    return result;
}

}  // namespace decoder
