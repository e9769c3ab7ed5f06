// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintOperation.h"

#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintPage.h"

#include <QFile>
#include <QLoggingCategory>
#include <QPainter>
#include <QPicture>

#include <algorithm>

namespace platform {

namespace {

Q_LOGGING_CATEGORY(printingCategory, "tavlin.printing")

/// A writer tells of a full disk by nothing but a file that lacks its end.
bool isWholePdf(const QString& path) {
    constexpr int tail = 32;
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        return false;
    file.seek(std::max<qint64>(0, file.size() - tail));
    return file.read(tail).contains("%%EOF");
}

}  // namespace

bool PrintOperation::run() {
    const bool isFile = _info.printer().outputFormat() == QPrinter::PdfFormat;
    const bool isDone = isFile ? printFile() : printTo(_info.printer());
    if (!isDone)
        qCWarning(printingCategory) << "nothing printed to" << _info.destination();
    return isDone;
}

/// By a printer object of its own: one that once failed to write a file never writes another.
bool PrintOperation::printFile() {
    QPrinter printer(QPrinter::HighResolution);
    _info.choice().applyTo(printer);
    printer.setDocName(_info.printer().docName());
    return printTo(printer) && isWholePdf(printer.outputFileName());
}

bool PrintOperation::printTo(QPrinter& printer) {
    if (auto* page = qobject_cast<PrintPage*>(&_view))
        page->layOutForPage(_info.imageablePageBounds().size());
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    paint(painter, printer.resolution());
    return painter.end() && printer.printerState() != QPrinter::Error;
}

void PrintOperation::paint(QPainter& painter, int resolution) {
    const qreal pointsPerUnit = pointsPerInch / _view.logicalDpiY();
    const QSizeF page = _info.imageablePageBounds().size();
    const QSizeF size = QSizeF(_view.size()) * pointsPerUnit;
    qreal scale = 1;
    if (_info.horizontalPagination() == PrintInfo::Pagination::fit)
        scale = std::min(scale, page.width() / size.width());
    if (_info.verticalPagination() == PrintInfo::Pagination::fit)
        scale = std::min(scale, page.height() / size.height());
    scale *= pointsPerUnit * resolution / pointsPerInch;
    painter.scale(scale, scale);
    if (const auto* printPage = qobject_cast<PrintPage*>(&_view)) {
        printPage->paint(painter);
        return;
    }
    // Rendered to the printer itself, a widget would come as its pixels.
    QPicture picture;
    QPainter recorder(&picture);
    _view.render(&recorder);
    recorder.end();
    // A recording takes the screen's and the printer's resolutions into account by itself.
    const qreal unit = qreal(_view.logicalDpiY()) / resolution;
    painter.scale(unit, unit);
    painter.drawPicture(0, 0, picture);
}

}  // namespace platform
