// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointF>
#include <QRectF>
#include <QSize>

namespace platform {

/// Where a picture lies in a view, and how large. All lengths are device pixels; a scale is device pixels for
/// one pixel of the picture, so that 1 is exact. A picture smaller than the view lies in its middle, a larger
/// one leaves no edge of the view bare, and at a whole scale its pixels lie on the device's. A value.
class PictureGeometry {
 public:
    static constexpr double maximumScale = 32;

    void setPictureSize(QSize size);
    /// A view that fits its picture goes on doing so; another keeps what is in its middle.
    void setViewSize(QSize size);

    QSize pictureSize() const { return _pictureSize; }
    QSize viewSize() const { return _viewSize; }
    double scale() const { return _scale; }
    /// The whole picture, not enlarged.
    double fitScale() const;
    bool isFitting() const { return _isFitting; }

    void fit();
    /// Sets the scale, between fitScale() and maximumScale; the picture's point under `anchor` stays there.
    void setScale(double scale, QPointF anchor);
    /// The same by a factor. A step that would pass the exact scale ends there.
    void zoom(double factor, QPointF anchor);
    /// Between the whole picture and its exact pixels.
    void toggleFit(QPointF anchor);
    void pan(QPointF distance);

    QRectF pictureRect() const;
    /// What the view shows of the picture, in the picture's pixels.
    QRectF shownPart() const;
    /// Whether there is anything to pan to.
    bool isPannable() const;

 private:
    void settle();

    QSize _pictureSize;
    QSize _viewSize;
    double _scale = 1;
    QPointF _topLeft;
    bool _isFitting = true;
};

}  // namespace platform
