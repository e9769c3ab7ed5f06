// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Finish.h"

#include <QColorSpace>
#include <QTransform>

#include <algorithm>
#include <array>

namespace decoder {

QSize fittedSize(QSize full, int pixelSize) {
    if (full.width() <= pixelSize && full.height() <= pixelSize)
        return full;
    const double scale = double(pixelSize) / std::max(full.width(), full.height());
    const auto side = [&](int length) {
        return std::clamp(qRound(length * scale), 1, pixelSize);
    };
    return {side(full.width()), side(full.height())};
}

QImageIOHandler::Transformations transformationOfOrientation(int orientation) {
    constexpr std::array kTransformations{
        QImageIOHandler::TransformationNone,
        QImageIOHandler::TransformationMirror,
        QImageIOHandler::TransformationRotate180,
        QImageIOHandler::TransformationFlip,
        QImageIOHandler::TransformationFlipAndRotate90,
        QImageIOHandler::TransformationRotate90,
        QImageIOHandler::TransformationMirrorAndRotate90,
        QImageIOHandler::TransformationRotate270,
    };
    if (orientation < 1 || orientation > int(kTransformations.size()))
        return QImageIOHandler::TransformationNone;
    return kTransformations[static_cast<std::size_t>(orientation - 1)];
}

QImage upright(const QImage& image, QImageIOHandler::Transformations transformation) {
    const bool mirror = transformation.testFlag(QImageIOHandler::TransformationMirror);
    const bool flip = transformation.testFlag(QImageIOHandler::TransformationFlip);
    QImage turned = mirror || flip ? image.mirrored(mirror, flip) : image;
    if (transformation.testFlag(QImageIOHandler::TransformationRotate90))
        turned = turned.transformed(QTransform().rotate(90));
    return turned;
}

QImage scaledSmoothly(const QImage& image, QSize size) {
    const bool isDeepAndClear = image.depth() == 64 && image.hasAlphaChannel();
    const bool isIndexed = image.colorCount() > 0;
    const QImage source =
        !isDeepAndClear && !isIndexed
            ? image
            : image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                            : QImage::Format_RGB32);
    QImage scaled = source.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaled.setColorSpace(image.colorSpace());
    return scaled;
}

Result finish(QImage image, QSize fullSize, QImageIOHandler::Transformations transformation, int pixelSize) {
    const QSize fitted = fittedSize(image.size(), pixelSize);
    if (fitted != image.size())
        image = scaledSmoothly(image, fitted);
    const QColorSpace sRgb(QColorSpace::SRgb);
    if (image.colorSpace().isValid() && image.colorSpace() != sRgb) {
        if (image.format() == QImage::Format_Indexed8 || image.depth() < 24)
            image.convertTo(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
        image.convertToColorSpace(sRgb);
    }
    image = upright(image, transformation);
    image.convertTo(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (transformation.testFlag(QImageIOHandler::TransformationRotate90))
        fullSize.transpose();
    if (image.isNull())
        return Failure{Status::tooLarge, {}};
    return Picture{image, fullSize, {}};
}

}  // namespace decoder
