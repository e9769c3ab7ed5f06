// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/ImageWindowController.h"

#include "platform/imaging/DecodeThreads.h"
#include "platform/views/ImageView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "viewer/ImageWindow.h"
#include "viewer/MetadataSection.h"

#include <QPlainTextEdit>
#include <QTimer>

#include <algorithm>
#include <chrono>

namespace {

using namespace std::chrono_literals;
using platform::PropertyDictionary;
using platform::PropertyValue;

constexpr const char* method = "-[ImageWindowController initWithWindowNibName:sender:imagePath:]";
constexpr auto patience = 40ms;  // that opening waits for the metadata
constexpr auto propertiesDeadline = 10s;

/// A dictionary within the properties, as an object to log; nothing when it is absent.
std::optional<PropertyValue> nested(const PropertyDictionary& properties, QStringView key) {
    const auto found = std::ranges::find(properties, key, [](const auto& entry) { return entry.first; });
    if (found == properties.end() || found->second.dictionary() == nullptr)
        return std::nullopt;
    return found->second;
}

PropertyDictionary entriesOf(const std::optional<PropertyValue>& dictionary) {
    return dictionary ? dictionary->dictionary()->entries : PropertyDictionary();
}

}  // namespace

ImageWindowController::PrintChoice ImageWindowController::PrintChoice::fromSettings() {
    return {appGlobals->objectForKey(PreferenceKeys::printGeneralMetadata).toBool(),
            appGlobals->objectForKey(PreferenceKeys::printIPTCMetadata).toBool(),
            appGlobals->objectForKey(PreferenceKeys::printEXIFMetadata).toBool()};
}

/// Windows of this desktop stay visible when the application is not active.
ImageWindowController::ImageWindowController(const QString& windowNibName, QObject* /*sender*/,
                                             const QString& imagePath, const ImageWindow* inPlaceOf) {
    logWithMethodName(method, currentLine(), u"nibName: %@", windowNibName);
    _window = std::make_unique<ImageWindow>(*this);
    if (inPlaceOf != nullptr)
        _window->takePlaceOf(*inPlaceOf);
    connectOutlets();
    logWithMethodName(method, currentLine(), u"window: %p", _window.get());
    _filePath = imagePath;
    _window->setTitleWithRepresentedFilename(_filePath);
    _imageView->setImageWithPath(_filePath);
    _printChoice = PrintChoice::fromSettings();
    readProperties();
    _window->makeKeyAndOrderFront();
}

ImageWindowController::~ImageWindowController() = default;

void ImageWindowController::connectOutlets() {
    _imageView = &_window->imageView();
    _textView = &_window->textView();
    _splitView = &_window->splitView();
    connect(_window.get(), &ImageWindow::willClose, this, &ImageWindowController::windowDidAskToClose);
}

void ImageWindowController::readProperties() {
    const platform::DecodeRequest request{platform::DecodeRequest::Kind::properties, -1, 1};
    _properties = std::make_unique<platform::DecodeTask>(platform::DecodeThreads::properties(), _filePath,
                                                         request, propertiesDeadline);
    if (_properties->waitFor(patience)) {
        takeProperties();
        return;
    }
    showSections(metadataSectionText(MetadataSection::general, {}),
                 metadataSectionText(MetadataSection::iptc, {}),
                 metadataSectionText(MetadataSection::exif, {}));
    connect(_properties.get(), &platform::DecodeTask::finished, this, &ImageWindowController::takeProperties);
    QTimer::singleShot(propertiesDeadline, this, &ImageWindowController::takeProperties);
}

/// The answer or its deadline has come, whichever is first.
void ImageWindowController::takeProperties() {
    if (!_properties)
        return;
    std::optional<platform::DecodeResult> result;
    if (_properties->isFinished())
        result = _properties->takeResult();
    _properties.release()->deleteLater();  // it may be the one that calls
    const auto* decoded = result ? std::get_if<platform::DecodedProperties>(&*result) : nullptr;
    makeSummaries(decoded != nullptr ? &decoded->properties : nullptr);
}

void ImageWindowController::makeSummaries(const PropertyDictionary* properties) {
    const PropertyDictionary general = properties != nullptr ? *properties : PropertyDictionary();
    logWithMethodName(method, currentLine(), u"imagePropertiesDictionary: %@", [properties] {
        return properties == nullptr ? std::optional<PropertyValue>()
                                     : std::optional<PropertyValue>(PropertyValue::Dictionary{*properties});
    });
    const auto iptc = nested(general, u"{IPTC}");
    logWithMethodName(method, currentLine(), u"iptcDict: %@", iptc);
    const auto exif = nested(general, u"{Exif}");
    logWithMethodName(method, currentLine(), u"exifDict: %@", exif);
    const QString generalText = metadataSectionText(MetadataSection::general, general);
    const QString iptcText = metadataSectionText(MetadataSection::iptc, entriesOf(iptc));
    const QString exifText = metadataSectionText(MetadataSection::exif, entriesOf(exif));
    showSections(generalText, iptcText, exifText);
}

void ImageWindowController::showSections(const QString& general, const QString& iptc, const QString& exif) {
    const QString separator = QStringLiteral("\n\n");
    const QString summary = general + separator + iptc + separator + exif;
    _textView->setPlainText(summary);
    _metaDataSummary = _filePath + separator + summary;
    _metaDataPrintSummary = _filePath;
    if (_printChoice.general)
        _metaDataPrintSummary += separator + general;
    if (_printChoice.iptc)
        _metaDataPrintSummary += separator + iptc;
    if (_printChoice.exif)
        _metaDataPrintSummary += separator + exif;
}

QWidget* ImageWindowController::window() const {
    return _window.get();
}

void ImageWindowController::close() {
    _window->close();
}

void ImageWindowController::windowDidAskToClose() {
    logWithMethodName("-[ImageWindowController windowWillClose:]", currentLine(), u"Yo!");
    Q_EMIT windowWillClose();
}
