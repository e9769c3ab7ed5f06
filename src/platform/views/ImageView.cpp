// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageView.h"

#include "platform/AccessibleRole.h"

#include <QGestureEvent>
#include <QKeyEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto deadline = 60s;
constexpr auto resizePause = 120ms;
constexpr double keyZoom = 1.25;
constexpr double wheelZoomPerNotch = 1.25;
constexpr double wheelNotch = 120;  // eighths of a degree
constexpr double arrowShare = 0.1;  // of the view that an arrow key moves
constexpr int checkerSide = 8;      // points

}  // namespace

ImageView::ImageView(QWidget* parent) : QWidget(parent), _resizePause(new QTimer(this)) {
    announceAs<ImageView, QAccessible::Graphic>();
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(80, 80);
    grabGesture(Qt::PinchGesture);
    _resizePause->setSingleShot(true);
    _resizePause->setInterval(resizePause);
    connect(_resizePause, &QTimer::timeout, this, &ImageView::askForMore);
}

ImageView::~ImageView() = default;

void ImageView::setImageWithPath(const QString& path) {
    _path = path;
    _whole = QImage();
    _wholeSide = 0;
    _hasWhole = _isBroken = false;
    _tiles.reset();
    _animation.reset();
    _canvas.discard();
    setToolTip({});
    setAccessibleDescription({});
    ask(Step::preview);
    update();
}

QPointF ImageView::devicePoint(QPointF point) const {
    return point * devicePixelRatioF();
}

QPointF ImageView::middle() const {
    return QPointF(_geometry.viewSize().width(), _geometry.viewSize().height()) / 2;
}

/// The longer side of the picture that fills the view.
int ImageView::neededSide() const {
    const QSize view = size() * devicePixelRatioF();
    if (_geometry.pictureSize().isEmpty())
        return std::clamp(std::max(view.width(), view.height()), 1, DecodeRequest::maximumPixelSize);
    const QSize picture = _geometry.pictureSize();
    const double side = std::max(picture.width(), picture.height()) * _geometry.fitScale();
    return std::clamp(int(std::ceil(side)), 1, DecodeRequest::maximumPixelSize);
}

void ImageView::ask(Step step) {
    DecodeRequest request;
    request.kind =
        step == Step::preview ? DecodeRequest::Kind::embeddedPreview : DecodeRequest::Kind::thumbnail;
    request.pixelSize = DecodeRequest::maximumPixelSize;
    if (step == Step::fitted)
        request.pixelSize = _wholeSide = neededSide();
    _task = std::make_unique<DecodeTask>(DecodeThreads::pictures(), _path, request, deadline);
    connect(_task.get(), &DecodeTask::finished, this, [this, step] { take(step); });
}

void ImageView::askForMore() {
    if (_path.isEmpty() || _isBroken)
        return;
    if (!_task && neededSide() > _wholeSide)
        ask(Step::fitted);
    askForTiles();
}

/// Tiles are for what the whole picture does not show sharply; while that is still to come, for nothing.
void ImageView::askForTiles() {
    const QSize picture = _geometry.pictureSize();
    const double shown = _geometry.scale() * std::max(picture.width(), picture.height());
    const int served = std::max(_whole.width(), _whole.height());
    const bool isNeeded = _hasWhole && !picture.isEmpty() &&
                          served < std::max(picture.width(), picture.height()) && !_geometry.isFitting() &&
                          shown > served + 1;
    if (isNeeded && !_tiles) {
        _tiles = std::make_unique<PictureTiles>(_path, picture, TileCache::shared());
        connect(_tiles.get(), &PictureTiles::tileCame, this, &ImageView::tileCame);
    }
    if (_tiles)
        _tiles->show(isNeeded ? _geometry.shownPart() : QRectF(), TileGrid::levelOf(_geometry.scale()));
}

void ImageView::tileCame(const TilePlace& place) {
    const QRect area = _tiles->grid().areaOf(place);
    _canvas.discard(area);
    if (_geometry.shownPart().intersects(area))
        update();
}

void ImageView::take(Step step) {
    DecodeResult result = _task->takeResult();
    _task.release()->deleteLater();  // it is the one that calls
    if (auto* picture = std::get_if<DecodedPicture>(&result)) {
        _hasWhole = step == Step::fitted;
        if (!_animation || _animation->frame().isNull() || picture->fullSize != _geometry.pictureSize())
            use(*picture);
        if (_hasWhole && picture->frameCount > 1 && !_animation)
            animate(*picture);
    } else if (const auto* failure = std::get_if<DecodeFailure>(&result);
               failure && failure->error == DecodeError::cancelled) {
        _wholeSide = 0;  // its volume may be about to go: the next change of the view asks again
        return;
    } else if (step == Step::fitted && !_hasWhole) {  // what is shown already stays, its file gone or not
        _isBroken = true;
        _whole = QImage();
        setToolTip(failure && !failure->message.isEmpty() ? failure->message.toHtmlEscaped() : _brokenText);
        setAccessibleDescription(_brokenText);
    }
    update();
    if (step == Step::preview)
        ask(Step::fitted);
    else
        askForMore();
}

/// A picture of another size than the one before is that of a changed file.
void ImageView::use(const DecodedPicture& picture) {
    _whole = picture.image;
    _canvas.discard();
    if (_geometry.pictureSize() == picture.fullSize)
        return;
    _tiles.reset();
    _animation.reset();
    _geometry.setPictureSize(picture.fullSize);
}

void ImageView::animate(const DecodedPicture& picture) {
    _animation = std::make_unique<PictureAnimation>(_path, picture.fullSize);
    connect(_animation.get(), &PictureAnimation::frameChanged, this, &ImageView::showFrame);
    _animation->setRunning(isVisible() && !window()->isMinimized());
}

/// A frame stands for the whole picture at every zoom, as it comes at its own size.
void ImageView::showFrame() {
    _whole = _animation->frame();
    _wholeSide = DecodeRequest::maximumPixelSize;
    _canvas.discard(QRect(QPoint(), _geometry.pictureSize()));
    askForTiles();
    update();
}

/// Also when a minimised window is restored, as the next is when one is minimised.
void ImageView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (_animation)
        _animation->setRunning(true);
}

void ImageView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (_animation)
        _animation->setRunning(false);
}

void ImageView::geometryChanged() {
    askForMore();
    setCursor(_geometry.isPannable() ? Qt::OpenHandCursor : Qt::ArrowCursor);
    update();
}

void ImageView::paintEvent(QPaintEvent*) {
    followScreen();
    QPainter painter(this);
    const QColor window = palette().color(QPalette::Window);
    const QColor background = window.darker(window.lightness() > 128 ? 112 : 130);
    if (_isBroken) {
        painter.fillRect(rect(), background);
        paintBroken(painter);
        return;
    }
    const qreal ratio = devicePixelRatioF();
    const PictureCanvas::Frame frame{_geometry,    _whole,
                                     _tiles.get(), TileGrid::levelOf(_geometry.scale()),
                                     background,   int(std::lround(checkerSide * ratio))};
    const QPixmap& pixels = _canvas.composed(frame);
    painter.scale(1 / ratio, 1 / ratio);
    painter.drawPixmap(0, 0, pixels);
}

/// A sheet with a picture on it, torn.
void ImageView::paintBroken(QPainter& painter) const {
    constexpr QSizeF sheetSize(72, 56);
    QColor ink = palette().color(QPalette::WindowText);
    ink.setAlphaF(0.45F);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QRectF(rect()).center());
    QPainterPath sheet;
    sheet.addRoundedRect(QRectF(QPointF(-sheetSize.width() / 2, -sheetSize.height() / 2), sheetSize), 5, 5);
    QPainterPath scene;
    scene.moveTo(-28, 20);
    scene.lineTo(-12, -4);
    scene.lineTo(0, 12);
    scene.lineTo(8, 2);
    scene.lineTo(28, 20);
    scene.closeSubpath();
    scene.addEllipse(QPointF(18, -14), 5, 5);
    const QPolygonF tear{{-6, -40}, {5, -14}, {-7, 2}, {6, 18},   {-4, 40},
                         {1, 40},   {12, 18}, {-1, 2}, {11, -14}, {0, -40}};
    QPainterPath torn;
    torn.addPolygon(tear);
    painter.setPen(QPen(ink, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    QPainterPath outside;
    outside.addRect(QRectF(-60, -60, 120, 120));
    painter.setClipPath(outside.subtracted(torn));
    painter.drawPath(sheet);
    painter.fillPath(scene, ink);
}

void ImageView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    followScreen();
}

/// The view has another size in device pixels, by itself or as it is on another screen.
void ImageView::followScreen() {
    const QSize viewSize = (QSizeF(size()) * devicePixelRatioF()).toSize();
    if (viewSize == _geometry.viewSize())
        return;
    _geometry.setViewSize(viewSize);
    setCursor(_geometry.isPannable() ? Qt::OpenHandCursor : Qt::ArrowCursor);
    _resizePause->start();
}

void ImageView::wheelEvent(QWheelEvent* event) {
    const double notches = event->angleDelta().y() / wheelNotch;
    _geometry.zoom(std::pow(wheelZoomPerNotch, notches), devicePoint(event->position()));
    geometryChanged();
    event->accept();
}

void ImageView::pinch(double factor, QPointF place) {
    _geometry.zoom(factor, devicePoint(place));
    geometryChanged();
}

/// Pinches come as native gestures from touchpads, as the toolkit's own from touch screens.
bool ImageView::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        const auto* native = static_cast<QNativeGestureEvent*>(event);
        if (native->gestureType() == Qt::ZoomNativeGesture) {
            pinch(1 + native->value(), native->position());
            return true;
        }
    } else if (event->type() == QEvent::Gesture) {
        const auto* gesture = static_cast<QGestureEvent*>(event)->gesture(Qt::PinchGesture);
        if (const auto* it = static_cast<const QPinchGesture*>(gesture)) {
            pinch(it->scaleFactor(), mapFromGlobal(it->hotSpot().toPoint()));
            return true;
        }
    }
    if (event->type() == QEvent::ScreenChangeInternal)
        update();
    return QWidget::event(event);
}

void ImageView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    _dragPoint = event->position();
    if (_geometry.isPannable())
        setCursor(Qt::ClosedHandCursor);
}

void ImageView::mouseMoveEvent(QMouseEvent* event) {
    if (!event->buttons().testFlag(Qt::LeftButton))
        return;
    _geometry.pan(devicePoint(event->position() - _dragPoint));
    _dragPoint = event->position();
    askForTiles();
    update();
}

void ImageView::mouseReleaseEvent(QMouseEvent*) {
    setCursor(_geometry.isPannable() ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

void ImageView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    _geometry.toggleFit(devicePoint(event->position()));
    geometryChanged();
}

void ImageView::zoomIn() {
    _geometry.zoom(keyZoom, middle());
    geometryChanged();
}

void ImageView::zoomOut() {
    _geometry.zoom(1 / keyZoom, middle());
    geometryChanged();
}

void ImageView::zoomToFit() {
    _geometry.fit();
    geometryChanged();
}

void ImageView::zoomToActualSize() {
    _geometry.setScale(1, middle());
    geometryChanged();
}

void ImageView::keyPressEvent(QKeyEvent* event) {
    const QSizeF step = QSizeF(_geometry.viewSize()) * arrowShare;
    switch (event->key()) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            zoomIn();
            return;
        case Qt::Key_Minus:
            zoomOut();
            return;
        case Qt::Key_Space:
            _geometry.toggleFit(middle());
            break;
        case Qt::Key_0:
            zoomToFit();
            return;
        case Qt::Key_1:
            zoomToActualSize();
            return;
        case Qt::Key_Left:
            _geometry.pan({step.width(), 0});
            break;
        case Qt::Key_Right:
            _geometry.pan({-step.width(), 0});
            break;
        case Qt::Key_Up:
            _geometry.pan({0, step.height()});
            break;
        case Qt::Key_Down:
            _geometry.pan({0, -step.height()});
            break;
        default:
            QWidget::keyPressEvent(event);
            return;
    }
    geometryChanged();
}

}  // namespace platform
