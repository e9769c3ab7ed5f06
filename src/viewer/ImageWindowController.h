// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/WindowController.h"
#include "platform/PropertyValue.h"

#include <QString>

#include <memory>

class ImageWindow;
class QPlainTextEdit;
class QSplitter;
namespace platform {
class DecodeTask;
class ImageView;
}  // namespace platform

/// Shows one picture beside a summary of its metadata, and keeps the longer summaries for printing. The
/// constructor builds and shows the window; it waits 40 ms for the metadata and otherwise shows empty
/// sections until they come. The summaries are made once and follow neither the file nor the settings. Owned
/// by whoever opened it, until its window closes; main thread only.
class ImageWindowController : public platform::WindowController {
    Q_OBJECT

 public:
    /// `inPlaceOf`: an open window whose place, size and state the new one takes.
    ImageWindowController(const QString& windowNibName, QObject* sender, const QString& imagePath,
                          const ImageWindow* inPlaceOf = nullptr);
    ~ImageWindowController() override;

    QWidget* window() const override;
    /// The picture's path, unchanged.
    const QString& filePath() const { return _filePath; }
    /// The path, then the summary that the window shows.
    const QString& metaDataSummary() const { return _metaDataSummary; }
    /// The path, then the sections that were chosen for printing when the window opened.
    const QString& metaDataPrintSummary() const { return _metaDataPrintSummary; }

    void close();

 private:
    /// Which sections are printed.
    struct PrintChoice {
        bool general = false;
        bool iptc = false;
        bool exif = false;

        static PrintChoice fromSettings();
    };

    void connectOutlets();
    void readProperties();
    void takeProperties();
    void makeSummaries(const platform::PropertyDictionary* properties);
    void showSections(const QString& general, const QString& iptc, const QString& exif);
    void windowDidAskToClose();

    std::unique_ptr<ImageWindow> _window;
    platform::ImageView* _imageView = nullptr;
    QPlainTextEdit* _textView = nullptr;
    QSplitter* _splitView = nullptr;
    QString _filePath;
    QString _metaDataSummary;
    QString _metaDataPrintSummary;
    PrintChoice _printChoice;
    std::unique_ptr<platform::DecodeTask> _properties;  ///< null once they have come, or are given up
};
