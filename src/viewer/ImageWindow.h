// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/printing/PrintableWindow.h"

#include <memory>

class ImageWindowController;
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

/// The window of one picture, made from its interface description. Escape closes it. Owned by its
/// ImageWindowController; main thread only.
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

    /// The page to print: the controller's print summary, and the picture read anew from its file, as large
    /// as the shared print settings' page shows it, or none. Blocks while it reads, for 20 s at most. The
    /// page keeps its contents until the next time.
    platform::PrintPage& printView();

    QRect frame() const override;
    void print(QObject* sender) override;
    QByteArray dataWithPDFInsideRect(const QRect& part) override;
    QByteArray dataWithEPSInsideRect(const QRect& part) override;

 Q_SIGNALS:
    void willClose();

 protected:
    void closeEvent(QCloseEvent* event) override;

 private:
    std::unique_ptr<platform::PrintPage> _printView;  ///< null before the first print
    platform::PrintTextField* _printViewMetaData = nullptr;
    platform::PrintImageView* _printViewImageView = nullptr;
    ImageWindowController& _windowController;
    const std::unique_ptr<Ui::ImageWindow> _ui;
};
