// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintableWindow.h"

#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintOperation.h"
#include "platform/printing/PrintPanels.h"

#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>
#include <QtMath>

namespace platform {

namespace {

constexpr qreal epsScale = 3;  // pixels of the document for one of the screen

/// The pixels on a page of that size, from its lower left corner on (PostScript Language Reference, third
/// edition, 4.10; Encapsulated PostScript File Format 3.0).
QByteArray epsOf(const QImage& pixels, const QSizeF& points) {
    const QImage image = pixels.convertToFormat(QImage::Format_RGB888);
    const QByteArray width = QByteArray::number(image.width());
    const QByteArray height = QByteArray::number(image.height());
    QByteArray samples;
    for (int y = 0; y < image.height(); ++y)
        samples.append(reinterpret_cast<const char*>(image.constScanLine(y)), qsizetype{3} * image.width());
    constexpr qsizetype lengthBefore = 4;  // which qCompress() puts before what zlib makes
    const QByteArray digits = qCompress(samples).mid(lengthBefore).toHex();

    QByteArray result =
        "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 " + QByteArray::number(qCeil(points.width())) + ' ' +
        QByteArray::number(qCeil(points.height())) + "\n%%LanguageLevel: 3\n%%EndComments\ngsave\n" +
        QByteArray::number(points.width()) + ' ' + QByteArray::number(points.height()) +
        " scale\n/DeviceRGB setcolorspace\n/digits currentfile /ASCIIHexDecode filter def\n{ << /ImageType 1 "
        "/BitsPerComponent 8 /Width " +
        width + " /Height " + height + " /ImageMatrix [" + width + " 0 0 -" + height + " 0 " + height +
        "] /Decode [0 1 0 1 0 1]\n/DataSource digits /FlateDecode filter >> image digits flushfile } exec\n";
    constexpr qsizetype longestLine = 128;
    for (qsizetype at = 0; at < digits.size(); at += longestLine)
        result += digits.mid(at, longestLine) + '\n';
    return result + ">\ngrestore\n%%EOF\n";
}

}  // namespace

QRect PrintableWindow::frame() const {
    return frameGeometry();
}

void PrintableWindow::print(QObject* /*sender*/) {
    PrintInfo& info = PrintInfo::sharedPrintInfo();
    info.paginateToFit();
    auto* panel = new PrintPanel(*this);
    panel->beginSheet(info, [this, &info](PrintPanel&, int returnCode, QWidget&) {
        if (returnCode == PrintPanel::ok)
            PrintOperation(*this, info).run();
    });
}

QByteArray PrintableWindow::dataWithPDFInsideRect(const QRect& part) {
    QByteArray result;
    if (part.isEmpty())
        return result;
    QBuffer buffer(&result);
    buffer.open(QBuffer::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(logicalDpiY());
    const QSizeF points = QSizeF(part.size()) * pointsPerInch / logicalDpiY();
    writer.setPageLayout(QPageLayout(QPageSize(points, QPageSize::Point, QString(), QPageSize::ExactMatch),
                                     QPageLayout::Portrait, {}));
    QPainter painter(&writer);
    render(&painter, QPoint(), part);
    painter.end();
    return result;
}

QByteArray PrintableWindow::dataWithEPSInsideRect(const QRect& part) {
    if (part.isEmpty())
        return {};
    QImage pixels(part.size() * epsScale, QImage::Format_RGB32);
    pixels.setDevicePixelRatio(epsScale);
    pixels.fill(Qt::white);
    render(&pixels, QPoint(), part);
    return epsOf(pixels, QSizeF(part.size()) * pointsPerInch / logicalDpiY());
}

}  // namespace platform
