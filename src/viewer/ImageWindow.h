// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/printing/PrintableWindow.h"

#include <functional>
#include <memory>
#include <optional>

class ImageWindowController;
class QKeyEvent;
class QPlainTextEdit;
class QSplitter;
namespace platform {
class ImageView;
class PrintImageView;
class PrintPage;
class PrintTextField;
}  // namespace platform
namespace Ui {
class ImageWindow;
}

/// The window of one picture, made from its interface description. Full screen shows the picture alone;
/// Escape leaves full screen, and otherwise closes the window. Owned by its ImageWindowController; main
/// thread only.
class ImageWindow : public platform::PrintableWindow {
    Q_OBJECT

 public:
    explicit ImageWindow(ImageWindowController& windowController);
    ~ImageWindow() override;

    ImageWindowController& windowController() const { return _windowController; }
    platform::ImageView& imageView() const;
    QPlainTextEdit& textView() const;
    QSplitter& splitView() const;

    void setTitleWithRepresentedFilename(const QString& path);
    /// Shows the window in front of the others, with the keyboard.
    void makeKeyAndOrderFront();
    /// The width of the pane with the text, points.
    int textWidth() const;
    void setTextWidth(int textWidth);
    /// Before it is shown: the same place, size, panes and full screen as an open window.
    void takePlaceOf(const ImageWindow& other);

    void toggleFullScreen();

    /// The page to print: the controller's print summary, and the picture read anew from its file, as large
    /// as the shared print settings' page shows it, or none. While it reads, for 20 s at most, it asks every
    /// few milliseconds whether to go on; where that lets the window go, the answer is null. The page keeps
    /// its contents until the next time.
    platform::PrintPage* printView(const std::function<bool()>& goesOn);

    QRect frame() const override;
    void print(QObject* sender) override;
    QByteArray dataWithPDFInsideRect(const QRect& part) override;
    QByteArray dataWithEPSInsideRect(const QRect& part) override;

 Q_SIGNALS:
    void willClose();
    /// The user has moved the edge between the picture and the text.
    void textWidthChanged(int textWidth);
    /// The arrow keys, while there is nothing to pan: -1 for the previous picture, 1 for the next.
    void stepAsked(int step);
    void contextMenuAsked(QPoint globalPosition);

 protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

 private:
    /// The desktop's font of fixed pitch, which the columns of the metadata need; where what it calls so is
    /// none, another.
    static QFont fixedFont(qreal points);
    void leaveFullScreenOrClose();
    void showPartsForState();
    bool stepByKey(const QKeyEvent& event);
    bool textWants(const QKeyEvent& event) const;

    std::unique_ptr<platform::PrintPage> _printView;  ///< null before the first print
    platform::PrintTextField* _printViewMetaData = nullptr;
    platform::PrintImageView* _printViewImageView = nullptr;
    ImageWindowController& _windowController;
    const std::unique_ptr<Ui::ImageWindow> _ui;
    std::optional<int> _hiddenTextWidth;  ///< in points, while full screen hides the text
};
