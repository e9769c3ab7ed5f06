// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintInfo.h"

#include <QCoreApplication>
#include <QPointer>

namespace platform {

namespace {

constexpr qreal firstMargin = 15;  // millimetres

}  // namespace

PrintInfo& PrintInfo::sharedPrintInfo() {
    static QPointer<PrintInfo> shared;
    if (shared.isNull())
        shared = new PrintInfo(QCoreApplication::instance());
    return *shared;
}

PrintInfo::PrintInfo(QObject* parent) : QObject(parent), _printer(QPrinter::HighResolution) {
    _printer.setPageMargins(QMarginsF(firstMargin, firstMargin, firstMargin, firstMargin),
                            QPageLayout::Millimeter);
}

QMarginsF PrintInfo::margins() const {
    return _printer.pageLayout().margins(QPageLayout::Point);
}

QRectF PrintInfo::imageablePageBounds() const {
    return _printer.pageLayout().paintRect(QPageLayout::Point);
}

QString PrintInfo::destination() const {
    return _printer.outputFormat() == QPrinter::PdfFormat ? _printer.outputFileName()
                                                          : _printer.printerName();
}

PrintInfo::Choice PrintInfo::choice() const {
    return {_printer.outputFormat(), _printer.printerName(), _printer.outputFileName(), _printer.pageLayout(),
            _printer.copyCount(),    _printer.colorMode(),   _printer.duplex()};
}

/// The order matters: a printer's name and a file's name each set the format, and a printer its own paper.
void PrintInfo::Choice::applyTo(QPrinter& printer) const {
    if (!printerName.isEmpty())
        printer.setPrinterName(printerName);
    printer.setOutputFileName(fileName);
    printer.setOutputFormat(format);
    printer.setPageLayout(layout);
    printer.setCopyCount(copies);
    printer.setColorMode(colours);
    printer.setDuplex(duplex);
}

}  // namespace platform
