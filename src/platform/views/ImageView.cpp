// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageView.h"

#include <QKeyEvent>
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

constexpr int largestSide = 8192;  // that a decoder serves
constexpr auto deadline = 60s;
constexpr auto resizePause = 120ms;
constexpr double keyZoom = 1.25;
constexpr double wheelZoomPerNotch = 1.25;
constexpr double wheelNotch = 120;  // eighths of a degree
constexpr double arrowShare = 0.1;  // of the view that an arrow key moves
constexpr int checkerSide = 8;      // points

/// Two squares by two of the checkerboard.
QPixmap checkers(qreal ratio) {
    const int side = int(std::lround(checkerSide * ratio));
    QPixmap pixmap(2 * side, 2 * side);
    pixmap.fill(QColor(0xff, 0xff, 0xff));
    QPainter painter(&pixmap);
    painter.fillRect(0, 0, side, side, QColor(0xdd, 0xdd, 0xdd));
    painter.fillRect(side, side, side, side, QColor(0xdd, 0xdd, 0xdd));
    return pixmap;
}

}  // namespace

ImageView::ImageView(QWidget* parent) : QWidget(parent), _resizePause(new QTimer(this)) {
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(80, 80);
    _resizePause->setSingleShot(true);
    _resizePause->setInterval(resizePause);
    connect(_resizePause, &QTimer::timeout, this, &ImageView::askForMore);
}

ImageView::~ImageView() = default;

void ImageView::setImageWithPath(const QString& path) {
    _path = path;
    _fitted = _exact = QImage();
    _fittedSide = 0;
    _hasExact = _isBroken = false;
    setToolTip({});
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
        return std::clamp(std::max(view.width(), view.height()), 1, largestSide);
    const QSize picture = _geometry.pictureSize();
    const double side = std::max(picture.width(), picture.height()) * _geometry.fitScale();
    return std::clamp(int(std::ceil(side)), 1, largestSide);
}

void ImageView::ask(Step step) {
    DecodeRequest request{DecodeRequest::Kind::thumbnail, -1, largestSide};
    if (step == Step::preview)
        request = {DecodeRequest::Kind::embeddedPreview, -1, largestSide};
    if (step == Step::fitted)
        request.pixelSize = _fittedSide = neededSide();
    _task = std::make_unique<DecodeTask>(DecodeThreads::pictures(), _path, request, deadline);
    connect(_task.get(), &DecodeTask::finished, this, [this, step] { take(step); });
}

void ImageView::askForMore() {
    if (_path.isEmpty() || _isBroken || _task || _hasExact)
        return;
    const double served = std::max(_fitted.width(), _fitted.height());
    const double shown =
        _geometry.scale() * std::max(_geometry.pictureSize().width(), _geometry.pictureSize().height());
    if (!_geometry.isFitting() && shown > served + 1)
        ask(Step::exact);
    else if (neededSide() > _fittedSide)
        ask(Step::fitted);
}

void ImageView::take(Step step) {
    DecodeResult result = _task->takeResult();
    _task.release()->deleteLater();  // it is the one that calls
    if (auto* picture = std::get_if<DecodedPicture>(&result)) {
        use(step, *picture);
    } else if (step == Step::preview) {
        ask(Step::fitted);
        return;
    } else if (_fitted.isNull() || step == Step::fitted) {
        const auto* failure = std::get_if<DecodeFailure>(&result);
        _isBroken = true;
        _fitted = QImage();
        setToolTip(failure && !failure->message.isEmpty() ? failure->message.toHtmlEscaped() : _brokenText);
        setAccessibleDescription(_brokenText);
    } else {
        _hasExact = true;
    }
    update();
    if (step == Step::preview)
        ask(Step::fitted);
    else
        askForMore();
}

void ImageView::use(Step step, const DecodedPicture& picture) {
    if (step == Step::exact) {
        _exact = picture.image;
        _hasExact = true;
    } else {
        _fitted = picture.image;
    }
    const int longer = std::max(picture.fullSize.width(), picture.fullSize.height());
    if (step == Step::fitted && std::max(_fitted.width(), _fitted.height()) >= std::min(longer, largestSide))
        _hasExact = true;
    if (_geometry.pictureSize() != picture.fullSize)
        _geometry.setPictureSize(picture.fullSize);
}

void ImageView::geometryChanged() {
    askForMore();
    setCursor(_geometry.isPannable() ? Qt::OpenHandCursor : Qt::ArrowCursor);
    update();
}

void ImageView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette()
                                 .color(QPalette::Window)
                                 .darker(palette().color(QPalette::Window).lightness() > 128 ? 112 : 130));
    if (_isBroken) {
        paintBroken(painter);
        return;
    }
    const QRectF target = _geometry.pictureRect();
    const double longer = std::max(target.width(), target.height());
    const bool fittedSuffices = _exact.isNull() || std::max(_fitted.width(), _fitted.height()) >= longer - 1;
    const QImage& shown = fittedSuffices ? _fitted : _exact;
    if (shown.isNull())
        return;
    const qreal ratio = devicePixelRatioF();
    painter.scale(1 / ratio, 1 / ratio);
    if (shown.hasAlphaChannel()) {
        painter.setClipRect(target);
        painter.drawTiledPixmap(target.toAlignedRect(), checkers(ratio));
        painter.setClipping(false);
    }
    const bool isExact =
        std::abs(target.width() - shown.width()) < 1 && std::abs(target.height() - shown.height()) < 1;
    if (isExact) {
        painter.drawImage(target.topLeft(), shown);
        return;
    }
    const bool pixelsCount =
        _geometry.scale() >= 4 && &shown == (_hasExact && _exact.isNull() ? &_fitted : &_exact);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, !pixelsCount);
    painter.drawImage(target, shown);
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
    _geometry.setViewSize((QSizeF(size()) * devicePixelRatioF()).toSize());
    setCursor(_geometry.isPannable() ? Qt::OpenHandCursor : Qt::ArrowCursor);
    _resizePause->start();
}

void ImageView::wheelEvent(QWheelEvent* event) {
    const double notches = event->angleDelta().y() / wheelNotch;
    _geometry.zoom(std::pow(wheelZoomPerNotch, notches), devicePoint(event->position()));
    geometryChanged();
    event->accept();
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

void ImageView::keyPressEvent(QKeyEvent* event) {
    const QSizeF step = QSizeF(_geometry.viewSize()) * arrowShare;
    switch (event->key()) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            _geometry.zoom(keyZoom, middle());
            break;
        case Qt::Key_Minus:
            _geometry.zoom(1 / keyZoom, middle());
            break;
        case Qt::Key_Space:
            _geometry.toggleFit(middle());
            break;
        case Qt::Key_0:
            _geometry.fit();
            break;
        case Qt::Key_1:
            _geometry.setScale(1, middle());
            break;
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
