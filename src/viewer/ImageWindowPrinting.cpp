// SPDX-License-Identifier: GPL-3.0-or-later
// What an image window prints: not itself, but a page of its own, filled anew for every print.
#include "viewer/ImageWindow.h"

#include "platform/imaging/DecodeThreads.h"
#include "platform/PathBytes.h"
#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintPage.h"
#include "support/Logging.h"
#include "ui_ImageWindowPrintView.h"
#include "viewer/ImageWindowController.h"

#include <QDeadlineTimer>
#include <QPainter>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

using namespace std::chrono_literals;

constexpr qreal printTextSize = 7;  // points
constexpr auto printDeadline = 20s;
constexpr auto printStep = 20ms;

/// The pixels of the longer side of a page, at the printer's resolution; as many as a decoder serves are 700
/// of them an inch on A4, 300 up to A2.
int sideForPage() {
    auto& info = platform::PrintInfo::sharedPrintInfo();
    const QSizeF page = info.imageablePageBounds().size();
    const qreal side =
        std::max(page.width(), page.height()) / platform::pointsPerInch * info.printer().resolution();
    return std::clamp(int(std::ceil(side)), 1, platform::DecodeRequest::maximumPixelSize);
}

/// What is seen through a picture is the paper.
QImage onPaper(const QImage& picture) {
    if (!picture.hasAlphaChannel())
        return picture;
    QImage opaque(picture.size(), QImage::Format_RGB32);
    opaque.fill(Qt::white);
    QPainter(&opaque).drawImage(0, 0, picture);
    return opaque;
}

/// The picture as the file has it now; null where that cannot be read. Returns then, or when it shall not go
/// on, which it asks every few milliseconds.
QImage readPicture(const QString& path, const std::function<bool()>& goesOn) {
    const platform::DecodeRequest request{platform::DecodeRequest::Kind::thumbnail, -1, sideForPage()};
    platform::DecodeTask task(platform::DecodeThreads::printing(), path, request, printDeadline);
    const QDeadlineTimer deadline(printDeadline);
    while (!task.waitFor(printStep))
        if (!goesOn() || deadline.hasExpired())
            return {};
    const platform::DecodeResult result = task.takeResult();
    const auto* decoded = std::get_if<platform::DecodedPicture>(&result);
    return decoded != nullptr ? onPaper(decoded->image) : QImage();
}

/// Each line without what no font can show.
QString printable(const QString& summary) {
    QStringList lines = summary.split(u'\n');
    std::ranges::transform(lines, lines.begin(), platform::displayablePath);
    return lines.join(u'\n');
}

}  // namespace

platform::PrintPage* ImageWindow::printView(const std::function<bool()>& goesOn) {
    static constexpr auto method = "-[ImageWindow printView]";
    logWithMethodName(method, currentLine(), u"Foo");
    if (_printView == nullptr) {
        _printView = std::make_unique<platform::PrintPage>();
        Ui::ImageWindowPrintView description;
        description.setupUi(_printView.get());
        _printViewMetaData = description._printViewMetaData;
        _printViewImageView = description._printViewImageView;
    }
    _printViewMetaData->setFont(fixedFont(printTextSize));
    _printViewMetaData->setStringValue(printable(_windowController.metaDataPrintSummary()));
    const QPointer<ImageWindow> own = this;
    const QImage picture = readPicture(_windowController.filePath(), goesOn);
    if (own == nullptr)
        return nullptr;
    if (picture.isNull())
        logWithMethodName(method, currentLine(), u"PHERDAMMT!");
    _printViewImageView->setImage(picture);
    return _printView.get();
}

void ImageWindow::print(QObject* sender) {
    logWithMethodName("-[ImageWindow print:]", currentLine(), u"Yo!");
    PrintableWindow::print(sender);
}

QByteArray ImageWindow::dataWithPDFInsideRect(const QRect& part) {
    logWithMethodName("-[ImageWindow dataWithPDFInsideRect:]", currentLine(), u"Yo!");
    return PrintableWindow::dataWithPDFInsideRect(part);
}

QByteArray ImageWindow::dataWithEPSInsideRect(const QRect& part) {
    logWithMethodName("-[ImageWindow dataWithEPSInsideRect:]", currentLine(), u"Yo!");
    return PrintableWindow::dataWithEPSInsideRect(part);
}

QRect ImageWindow::frame() const {
    logWithMethodName("-[ImageWindow frame]", currentLine(), u"Narf!");
    return PrintableWindow::frame();
}
