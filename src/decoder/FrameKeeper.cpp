// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/FrameKeeper.h"

#include "decoder/ContainerChunks.h"
#include "decoder/ExifBlock.h"
#include "decoder/Finish.h"
#include "decoder/FormatDetection.h"
#include "decoder/LoaderMessages.h"
#include "decoder/ToolkitLoader.h"

#include <QBuffer>
#include <QImageReader>

namespace decoder {

namespace {

constexpr qsizetype kBytesPerPixel =
    12;  // of a reader: the frame, the one to be restored, the one handed out

}  // namespace

struct FrameKeeper::Kept {
    Kept(const InputDevice& device, Format fileFormat)
        : bytes(device.head(static_cast<qsizetype>(device.size()))),
          format(fileFormat),
          transformation(transformationOfOrientation(
              readExifBlock(readContainerChunks(device, format).exif).orientation)) {
        rewind();
        size = sizeToBeRead(*reader, format);
        frameCount = reader->imageCount();
        loops = reader->loopCount();
    }

    void rewind() {
        reader.reset();
        buffer = std::make_unique<QBuffer>(&bytes);
        buffer->open(QIODevice::ReadOnly);
        reader = std::make_unique<QImageReader>(buffer.get(), toolkitFormat(format));
        reader->setAutoDetectImageFormat(false);
        reader->setAutoTransform(false);
        next = 0;
    }

    qsizetype keptBytes() const { return bytes.size() + kBytesPerPixel * size.width() * size.height(); }

    QByteArray bytes;
    Format format;
    QImageIOHandler::Transformations transformation;
    std::unique_ptr<QBuffer> buffer;
    std::unique_ptr<QImageReader> reader;
    QSize size;
    int frameCount = 0;
    int loops = 0;
    int next = 0;  ///< the frame that the reader reads next
};

FrameKeeper::FrameKeeper() = default;
FrameKeeper::~FrameKeeper() = default;

void FrameKeeper::forget() {
    _files.clear();
}

Result FrameKeeper::frame(int index, InputDevice& device) {
    takeLoaderMessage();
    Kept* kept = _files.find(device.identity());
    if (!kept) {
        const Format format = detectFormat(device.head(kHeadBytes));
        if (format != Format::gif && format != Format::webp)
            return Failure{Status::notImage, {}};
        if (device.size() > kLargestFile)
            return Failure{Status::tooLarge, {}};
        kept = &_files.add(device.identity(), std::make_unique<Kept>(device, format));
    }
    Kept& file = *kept;
    if (qint64(file.size.width()) * file.size.height() > kLargestFrame) {
        _files.removeLast();
        return Failure{Status::tooLarge, {}};
    }
    if (index >= file.frameCount)
        return Failure{Status::damaged, "the animation has fewer frames"};
    if (index < file.next)
        file.rewind();
    QImage image;
    while (file.next <= index) {
        image = file.reader->read();
        if (image.isNull()) {
            const QByteArray said = takeLoaderMessage();
            const QByteArray error = file.reader->errorString().toUtf8();
            file.rewind();
            return Failure{Status::damaged, said.isEmpty() ? error : said};
        }
        ++file.next;
    }
    const QSize size = image.size();
    Result result = finish(std::move(image), size, file.transformation, kMaximumPixelSize);
    if (auto* picture = std::get_if<Picture>(&result)) {
        picture->frameCount = file.frameCount;
        picture->delay = file.reader->nextImageDelay();
        picture->loops = file.loops;
    }
    return result;
}

}  // namespace decoder
