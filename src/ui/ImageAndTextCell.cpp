// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ImageAndTextCell.h"

#include "support/Logging.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>

#include <cmath>

using platform::CellContext;
using platform::CellHit;
using platform::ImageRef;

namespace {

constexpr qreal gapBeforeImage = 3;
constexpr QSizeF iconSize(16, 16);

QRectF textFrameInRemainder(QRectF remainder) {
    return remainder.adjusted(2, 1, 2, -3);
}

/// Moved by less than one device pixel, so that the pixels of an image drawn there are those of the screen.
QPointF alignedToDevice(QPointF point, const QPainter& painter) {
    const QTransform toDevice = painter.deviceTransform();
    const QPointF device = toDevice.map(point);
    return toDevice.inverted().map(QPointF(std::round(device.x()), std::round(device.y())));
}

}  // namespace

ImageAndTextGeometry ImageAndTextGeometry::forFrame(QRectF frame, QSizeF imageSize, bool isFlipped) {
    const qreal stripWidth = gapBeforeImage + imageSize.width();
    const QRectF remainder = frame.adjusted(stripWidth, 0, 0, 0);
    const qreal height =
        isFlipped ? remainder.height() + imageSize.height() : remainder.height() - imageSize.height();
    ImageAndTextGeometry geometry;
    geometry.imagePoint = QPointF(frame.x() + gapBeforeImage, frame.y() - 1 + std::ceil(height * 0.5));
    geometry.imageFrame = QRectF(geometry.imagePoint, imageSize);
    if (isFlipped)
        geometry.imageFrame.translate(0, -imageSize.height());
    geometry.textFrame = textFrameInRemainder(remainder);
    return geometry;
}

QRectF ImageAndTextGeometry::groupTitleFrame(QRectF frame, qreal textHeight) {
    return frame.adjusted(0, std::floor((frame.height() - textHeight) * 0.5), 0, 0);
}

QRectF ImageAndTextGeometry::mirrored(QRectF rect, QRectF frame) {
    return rect.translated(frame.left() + frame.right() - rect.right() - rect.left(), 0);
}

void ImageAndTextCell::setImage(const ImageRef& image) {
    logWithMethodName("-[ImageAndTextCell setImage:]", 105, u"Foo, imagep: %p", image.get());
    if (image == _image)
        return;
    _image = image;
    if (_image)
        _image->setSize(iconSize);
}

bool ImageAndTextCell::isGroupCell() const {
    return !_image && !title().isEmpty();
}

CellHit ImageAndTextCell::hitTestForEventInRectOfView(QPointF /*point*/, QRectF /*frame*/) const {
    logWithMethodName("-[ImageAndTextCell hitTestForEvent:inRect:ofView:]", 257, u"No one listening.");
    return CellHit::contentArea;
}

QSizeF ImageAndTextCell::cellSize() const {
    return TextFieldCell::cellSize() + QSizeF(gapBeforeImage + imageSize().width(), 0);
}

void ImageAndTextCell::drawWithFrameInView(QRectF frame, QPainter& painter, const CellContext& context) {
    static const char* const method = "-[ImageAndTextCell drawWithFrame:inView:]";
    logWithMethodName(method, 181, u"Start");
    const float fontSize = smallSystemFontSize();
    logWithMethodName(method, 185, u"system font size is: %f", fontSize);
    QFont smallFont = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    smallFont.setPointSizeF(static_cast<qreal>(fontSize));
    setFont(smallFont);
    if (_image) {
        logWithMethodName(method, 191, u"Image wasn't nil. Drawing image.");
        drawImage(frame, painter, context);
        const bool isMirrored = context.direction == Qt::RightToLeft;
        const QRectF textFrame = titleRectForBounds(frame);
        TextFieldCell::drawWithFrameInView(
            isMirrored ? ImageAndTextGeometry::mirrored(textFrame, frame) : textFrame, painter, context);
    } else {
        logWithMethodName(method, 217, u"Image was nil.");
        if (isGroupCell()) {
            logWithMethodName(method, 220, u"isGroupCell");
            const qreal textHeight = QFontMetricsF(font()).height();
            drawTitle(ImageAndTextGeometry::groupTitleFrame(frame, textHeight), painter, context,
                      Qt::AlignTop);
        } else {
            logWithMethodName(method, 229, u"not isGroupCell");
        }
    }
    logWithMethodName(method, 232, u"End");
}

void ImageAndTextCell::selectWithFrameInViewEditorStartLength(QRectF frame, QLineEdit& editor, int start,
                                                              int length) {
    TextFieldCell::selectWithFrameInViewEditorStartLength(titleRectForBounds(frame), editor, start, length);
}

void ImageAndTextCell::editWithFrameInViewEditor(QRectF frame, QLineEdit& editor) {
    TextFieldCell::editWithFrameInViewEditor(titleRectForBounds(frame), editor);
}

QRectF ImageAndTextCell::titleRectForBounds(QRectF bounds) const {
    return textFrameInRemainder(bounds.adjusted(gapBeforeImage + imageSize().width(), 0, 0, 0));
}

std::unique_ptr<platform::TextFieldCell> ImageAndTextCell::copy() const {
    return std::make_unique<ImageAndTextCell>(*this);
}

QSizeF ImageAndTextCell::imageSize() const {
    return _image ? _image->size() : QSizeF(0, 0);
}

/// The icon is asked for at the screen's resolution and stays in the middle of its place where it has only
/// smaller pictures.
void ImageAndTextCell::drawImage(QRectF frame, QPainter& painter, const CellContext& context) const {
    QRectF place = ImageAndTextGeometry::forFrame(frame, imageSize(), context.isFlipped).imageFrame;
    if (context.direction == Qt::RightToLeft)
        place = ImageAndTextGeometry::mirrored(place, frame);
    const QPixmap pixmap = _image->icon().pixmap(place.size().toSize(), painter.device()->devicePixelRatioF(),
                                                 context.isEnabled ? QIcon::Normal : QIcon::Disabled);
    const QSizeF spare = (place.size() - pixmap.deviceIndependentSize()) / 2;
    const QPointF corner = place.topLeft() + QPointF(spare.width(), spare.height());
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.drawPixmap(alignedToDevice(corner, painter), pixmap);
}
