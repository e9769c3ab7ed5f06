// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/EmbeddedPreview.h"

#include "decoder/ExifBlock.h"
#include "decoder/Finish.h"
#include "decoder/InputDevice.h"
#include "decoder/ToolkitLoader.h"

#include <QBuffer>
#include <QRect>

#include <cmath>

namespace decoder {

namespace {

constexpr qsizetype kSearchedBytes = 1 << 16;
constexpr int kLargestPreview = 1024;  // pixels of the longer side; cameras write 160 to 640
constexpr double kShapeTolerance = 0.03;
constexpr int kDarkestContent = 28;  // mean grey of 255 that a bar stays below, JPEG's ringing included

bool isDark(const QImage& image, const QRect& bar) {
    qint64 sum = 0;
    for (int y = bar.top(); y <= bar.bottom(); ++y) {
        for (int x = bar.left(); x <= bar.right(); ++x)
            sum += qGray(image.pixel(x, y));
    }
    return sum < qint64(kDarkestContent) * bar.width() * bar.height();
}

}  // namespace

QRect contentOfThumbnail(const QImage& thumbnail, QSize picture) {
    const double shape = double(picture.width()) / picture.height();
    const double thumbnailShape = double(thumbnail.width()) / thumbnail.height();
    if (std::abs(shape / thumbnailShape - 1) <= kShapeTolerance)
        return thumbnail.rect();
    const bool barsAboveAndBelow = shape > thumbnailShape;
    const int length = barsAboveAndBelow ? thumbnail.height() : thumbnail.width();
    const double content = barsAboveAndBelow ? thumbnail.width() / shape : thumbnail.height() * shape;
    const int bar = static_cast<int>(std::ceil((length - content) / 2));
    if (bar < 1 || length - 2 * bar < 1)
        return {};
    const QRect rest = barsAboveAndBelow ? thumbnail.rect().adjusted(0, bar, 0, -bar)
                                         : thumbnail.rect().adjusted(bar, 0, -bar, 0);
    // The line next to the picture may show some of it.
    const int sure = std::max(1, bar - 1);
    const QRect before =
        barsAboveAndBelow ? QRect(0, 0, thumbnail.width(), sure) : QRect(0, 0, sure, thumbnail.height());
    const QRect after =
        barsAboveAndBelow ? before.translated(0, length - sure) : before.translated(length - sure, 0);
    return isDark(thumbnail, before) && isDark(thumbnail, after) ? rest : QRect();
}

Result embeddedPreview(const InputDevice& device) {
    const Failure none{Status::noPreview, {}};
    const QByteArray bytes = device.head(kSearchedBytes);
    if (detectFormat(bytes) != Format::jpeg)
        return none;
    const JpegHead head = readJpegHead(bytes);
    const ExifBlock exif = readExifBlock(head.exif);
    const QSize picture = head.size.isEmpty() ? exif.pixelSize : head.size;
    const QSize declared = readJpegHead(exif.thumbnail).size;
    if (picture.isEmpty() || detectFormat(exif.thumbnail) != Format::jpeg || declared.isEmpty() ||
        std::max(declared.width(), declared.height()) > kLargestPreview)
        return none;

    const QByteArray thumbnail = QByteArray::fromRawData(exif.thumbnail.data(), exif.thumbnail.size());
    QBuffer buffer;
    buffer.setData(thumbnail);
    buffer.open(QIODevice::ReadOnly);
    const Result loaded =
        loadWithToolkit(buffer, Format::jpeg, {kLargestPreview, QImageIOHandler::TransformationNone});
    const auto* decoded = std::get_if<Picture>(&loaded);
    const QRect content = decoded ? contentOfThumbnail(decoded->image, picture) : QRect();
    if (content.isEmpty())
        return none;
    return finish(decoded->image.copy(content), picture, transformationOfOrientation(exif.orientation),
                  kLargestPreview);
}

}  // namespace decoder
