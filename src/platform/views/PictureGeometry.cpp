// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/PictureGeometry.h"

#include <algorithm>
#include <cmath>

namespace platform {

void PictureGeometry::setPictureSize(QSize size) {
    _pictureSize = size;
    fit();
}

void PictureGeometry::setViewSize(QSize size) {
    const QPointF change = QPointF(size.width() - _viewSize.width(), size.height() - _viewSize.height()) / 2;
    _viewSize = size;
    if (_isFitting || _scale <= fitScale()) {
        fit();
        return;
    }
    _topLeft += change;
    settle();
}

double PictureGeometry::fitScale() const {
    if (_pictureSize.isEmpty() || _viewSize.isEmpty())
        return 1;
    return std::min({1.0, double(_viewSize.width()) / _pictureSize.width(),
                     double(_viewSize.height()) / _pictureSize.height()});
}

void PictureGeometry::fit() {
    _scale = fitScale();
    _isFitting = true;
    settle();
}

void PictureGeometry::setScale(double scale, QPointF anchor) {
    const double wanted = std::clamp(scale, fitScale(), maximumScale);
    _topLeft = anchor - (anchor - _topLeft) * (wanted / _scale);
    _scale = wanted;
    _isFitting = wanted <= fitScale();
    settle();
}

void PictureGeometry::zoom(double factor, QPointF anchor) {
    const double wanted = _scale * factor;
    const bool passesExact = (_scale < 1 && wanted > 1) || (_scale > 1 && wanted < 1);
    setScale(passesExact ? 1 : wanted, anchor);
}

void PictureGeometry::toggleFit(QPointF anchor) {
    if (_isFitting)
        setScale(1, anchor);
    else
        fit();
}

void PictureGeometry::pan(QPointF distance) {
    _topLeft += distance;
    settle();
}

QRectF PictureGeometry::pictureRect() const {
    return {_topLeft, QSizeF(_pictureSize) * _scale};
}

QRectF PictureGeometry::shownPart() const {
    const QRectF shown = pictureRect() & QRectF(QPointF(), QSizeF(_viewSize));
    return {(shown.topLeft() - _topLeft) / _scale, shown.size() / _scale};
}

bool PictureGeometry::isPannable() const {
    const QSizeF size = QSizeF(_pictureSize) * _scale;
    return size.width() > _viewSize.width() + 0.5 || size.height() > _viewSize.height() + 0.5;
}

void PictureGeometry::settle() {
    const auto settled = [](double at, double length, double room) {
        return std::round(length <= room ? (room - length) / 2 : std::clamp(at, room - length, 0.0));
    };
    const QSizeF size = QSizeF(_pictureSize) * _scale;
    _topLeft = QPointF(settled(_topLeft.x(), size.width(), _viewSize.width()),
                       settled(_topLeft.y(), size.height(), _viewSize.height()));
}

}  // namespace platform
