// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QToolButton>

/// A button at an end of the zoom slider: shows pictures as small or as large frames, in the palette's
/// colours.
class ZoomButton : public QToolButton {
    Q_OBJECT

 public:
    enum class Glyph { smallPictures, largePictures };

    explicit ZoomButton(QWidget* parent = nullptr);
    void setGlyph(Glyph glyph);

    QSize sizeHint() const override { return {22, 22}; }

 protected:
    void paintEvent(QPaintEvent* event) override;

 private:
    Glyph _glyph = Glyph::smallPictures;
};
