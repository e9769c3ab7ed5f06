// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/rare/RareFormats.h"

#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>

namespace decoder {

RareResult decodeSvg(const QByteArray& content, int pixelSize) {
    QSvgRenderer renderer;
    if (!renderer.load(content) || !renderer.isValid())
        return Failure{Status::damaged, {}};
    const QSize size = renderer.defaultSize();
    if (size.isEmpty())
        return Failure{Status::damaged, "the drawing is empty"};
    const QSize fitted = size.width() > pixelSize || size.height() > pixelSize
                             ? size.scaled(pixelSize, pixelSize, Qt::KeepAspectRatio).expandedTo(QSize(1, 1))
                             : size;
    QImage image(fitted, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return Failure{Status::tooLarge, {}};
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter, QRectF(QPointF(), QSizeF(fitted)));
    painter.end();
    return RareImage{image, size};
}

}  // namespace decoder
