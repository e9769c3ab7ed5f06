// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintPage.h"

#include "platform/printing/PageArrangement.h"
#include "platform/printing/PrintInfo.h"

#include <QPainter>

namespace platform {

void PrintImageView::paint(QPainter& painter) const {
    if (!_image.isNull())
        painter.drawImage(QRectF(rect()), _image);
}

void PrintTextField::paint(QPainter& painter) const {
    painter.setPen(Qt::black);
    _text.paint(painter, width(), _setting);
}

/// A pixel of the picture is a point of the page at most, or a small picture would be printed in squares.
void PrintPage::layOutForPage(const QSizeF& points) {
    const qreal unitsPerPoint = logicalDpiY() / pointsPerInch;
    const QSize size = (points * unitsPerPoint).toSize();
    resize(size);
    auto* picture = findChild<PrintImageView*>();
    auto* text = findChild<PrintTextField*>();
    const auto arrangement =
        PageArrangement::forPage(size, QSizeF(picture->image().size()) * unitsPerPoint, text->text());
    picture->setGeometry(arrangement.picture.toRect());
    text->setGeometry(arrangement.text.toAlignedRect().adjusted(0, 0, 0, 1));
    text->setSetting(arrangement.setting);
}

void PrintPage::paint(QPainter& painter) const {
    const auto paintChild = [&](const auto& child) {
        painter.translate(child.pos());
        child.paint(painter);
        painter.translate(-child.pos());
    };
    paintChild(*findChild<PrintImageView*>());
    paintChild(*findChild<PrintTextField*>());
}

}  // namespace platform
