// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Image.h"
#include "platform/views/TextFieldCell.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <memory>

/// Where an icon and the text beside it lie in a cell's frame, left to right, in points of the view.
struct ImageAndTextGeometry {
    /// The point at which the upright image is composited, its lower-left corner as a person sees it.
    QPointF imagePoint;
    /// What the image covers.
    QRectF imageFrame;
    QRectF textFrame;

    static ImageAndTextGeometry forFrame(QRectF frame, QSizeF imageSize, bool isFlipped);
    /// The frame of a title without an icon: moved down so that a text of this height is centred, with the
    /// lower edge staying.
    static QRectF groupTitleFrame(QRectF frame, qreal textHeight);
    /// The same as seen in a right-to-left view: `rect` mirrored within `frame`.
    static QRectF mirrored(QRectF rect, QRectF frame);
};

/// A cell that draws an icon of 16 by 16 points before its title; a title without an icon is that of a group.
/// Shares its image with whoever else holds it. Main thread only.
class ImageAndTextCell : public platform::TextFieldCell {
 public:
    const platform::ImageRef& image() const { return _image; }
    /// The image object itself becomes 16 by 16 points large, for every holder.
    void setImage(const platform::ImageRef& image);

    /// A title and no image.
    bool isGroupCell() const;

    /// The whole cell is content, also under the icon.
    platform::CellHit hitTestForEventInRectOfView(QPointF point, QRectF frame) const override;
    /// The title's size, wider by the image and 3 points.
    QSizeF cellSize() const override;
    void drawWithFrameInView(QRectF frame, QPainter& painter, const platform::CellContext& context) override;
    void selectWithFrameInViewEditorStartLength(QRectF frame, QLineEdit& editor, int start,
                                                int length) override;
    void editWithFrameInViewEditor(QRectF frame, QLineEdit& editor) override;
    QRectF titleRectForBounds(QRectF bounds) const override;
    /// The copy shares the image.
    std::unique_ptr<TextFieldCell> copy() const override;

 private:
    QSizeF imageSize() const;
    void drawImage(QRectF frame, QPainter& painter, const platform::CellContext& context) const;

    platform::ImageRef _image;
};
