// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/WholeRegions.h"

#include <QPainter>

namespace decoder {

QImage WholeRegions::read(InputDevice&, int level, const QRect& region, const QRect&) {
    const QImage& image = _picture.image;
    const QRect full(region.topLeft() * (1 << level), region.size() * (1 << level));
    if (image.size() == _picture.fullSize) {
        const QImage part = image.copy(full & image.rect());
        return part.scaled(region.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    const double x = double(image.width()) / _picture.fullSize.width();
    const double y = double(image.height()) / _picture.fullSize.height();
    QImage part(region.size(), image.format());
    if (part.isNull())
        return part;
    QPainter painter(&part);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(part.rect()), image,
                      QRectF(full.x() * x, full.y() * y, full.width() * x, full.height() * y));
    return part;
}

}  // namespace decoder
