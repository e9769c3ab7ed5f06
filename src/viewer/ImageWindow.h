// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMainWindow>

#include <memory>

class ImageWindowController;
class QPlainTextEdit;
class QSplitter;
namespace platform {
class ImageView;
}
namespace Ui {
class ImageWindow;
}

/// The window of one picture, made from its interface description. Escape closes it. Owned by its
/// ImageWindowController; main thread only.
class ImageWindow : public QMainWindow {
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

 Q_SIGNALS:
    void willClose();

 protected:
    void closeEvent(QCloseEvent* event) override;

 private:
    ImageWindowController& _windowController;
    const std::unique_ptr<Ui::ImageWindow> _ui;
};
