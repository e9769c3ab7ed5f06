// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/printing/ColumnText.h"

#include <QImage>
#include <QWidget>

namespace platform {

/// A picture for the printer, drawn as large as its view with all its pixels. Main thread only.
class PrintImageView : public QWidget {
    Q_OBJECT

 public:
    using QWidget::QWidget;

    /// Null for none.
    void setImage(const QImage& image) { _image = image; }
    const QImage& image() const { return _image; }
    void paint(QPainter& painter) const;

 private:
    QImage _image;
};

/// A plain text for the printer, black, in the widget's font. Main thread only.
class PrintTextField : public QWidget {
    Q_OBJECT

 public:
    using QWidget::QWidget;

    void setStringValue(const QString& text) { _text = ColumnText(text, font()); }
    const ColumnText& text() const { return _text; }
    const ColumnText::Setting& setting() const { return _setting; }
    void setSetting(const ColumnText::Setting& setting) { _setting = setting; }
    void paint(QPainter& painter) const;

 private:
    ColumnText _text;
    ColumnText::Setting _setting;
};

/// A page to print, with the picture view and the text field that stand in it as children. Never shown: it
/// paints for the printer, as the toolkit renders widgets to a printer by way of their pixels. Main thread
/// only.
class PrintPage : public QWidget {
    Q_OBJECT

 public:
    using QWidget::QWidget;

    /// Takes the size of a page's inner part, in points, and arranges what stands on it.
    void layOutForPage(const QSizeF& points);
    void paint(QPainter& painter) const;
};

}  // namespace platform
