// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QMainWindow>
#include <QRect>

namespace platform {

/// A window whose contents can go to paper or to other programs as they stand on the screen. Main thread
/// only.
class PrintableWindow : public QMainWindow {
    Q_OBJECT

 public:
    using QMainWindow::QMainWindow;

    /// The window on the screen, with its frame.
    virtual QRect frame() const;
    /// Asks by the print panel and prints what the window shows.
    virtual void print(QObject* sender);
    /// A part of the window's contents as a document of one page of that size, a point of the screen being a
    /// point of the page. Text and lines stay what they are in PDF; EPS holds the pixels.
    virtual QByteArray dataWithPDFInsideRect(const QRect& part);
    virtual QByteArray dataWithEPSInsideRect(const QRect& part);
};

}  // namespace platform
