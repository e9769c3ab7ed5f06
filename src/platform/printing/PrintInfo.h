// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QPrinter>
#include <QRectF>
#include <QString>

namespace platform {

inline constexpr qreal pointsPerInch = 72;

/// The printer, the paper and the margins that page setup, the print panel and every print share; what is
/// chosen holds until the program ends. Without a printer, prints go to PDF files. Main thread only.
class PrintInfo : public QObject {
    Q_OBJECT

 public:
    /// How a view that is larger than the page comes onto it, in one direction: scaled down, or cut.
    enum class Pagination { fit = 1, clip = 2 };

    /// What the print panel changes.
    struct Choice {
        QPrinter::OutputFormat format = QPrinter::PdfFormat;
        QString printerName;
        QString fileName;
        QPageLayout layout;
        int copies = 1;
        QPrinter::ColorMode colours = QPrinter::Color;
        QPrinter::DuplexMode duplex = QPrinter::DuplexNone;

        void applyTo(QPrinter& printer) const;
    };

    /// Made at first use, as asking for the printers takes time; ends with the application object.
    static PrintInfo& sharedPrintInfo();

    QPrinter& printer() { return _printer; }

    Pagination horizontalPagination() const { return _horizontal; }
    Pagination verticalPagination() const { return _vertical; }
    void setHorizontalPagination(Pagination pagination) { _horizontal = pagination; }
    void setVerticalPagination(Pagination pagination) { _vertical = pagination; }
    /// In both directions.
    void paginateToFit() { _horizontal = _vertical = Pagination::fit; }

    /// Points.
    QMarginsF margins() const;
    /// The page within its margins, in points from the paper's upper left corner.
    QRectF imageablePageBounds() const;
    /// Where a print goes, for people: the file's path or the printer's name.
    QString destination() const;

    Choice choice() const;
    void setChoice(const Choice& choice) { choice.applyTo(_printer); }

 private:
    explicit PrintInfo(QObject* parent);

    QPrinter _printer;
    Pagination _horizontal = Pagination::clip;
    Pagination _vertical = Pagination::clip;
};

}  // namespace platform
