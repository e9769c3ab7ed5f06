// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QProcess>
#include <QSize>
#include <QString>

/// A PDF file as the poppler tools read it; of no pages where they are missing or it is none.
class PdfFile {
 public:
    explicit PdfFile(QString path) : _path(std::move(path)) {}

    int numberOfPages() const {
        const QString pages = run({QStringLiteral("pdfinfo"), _path}).section(QStringLiteral("Pages:"), 1);
        return pages.section(u'\n', 0, 0).toInt();
    }
    /// The text in the order in which it was drawn.
    QString text() const { return run({QStringLiteral("pdftotext"), QStringLiteral("-raw"), _path, dash()}); }
    QList<QSize> pictureSizes() const {
        QList<QSize> sizes;
        const QString list = run({QStringLiteral("pdfimages"), QStringLiteral("-list"), _path});
        for (const QString& row : list.split(u'\n', Qt::SkipEmptyParts).mid(2)) {
            const QStringList columns = row.simplified().split(u' ');
            sizes += QSize(columns.value(3).toInt(), columns.value(4).toInt());
        }
        return sizes;
    }
    /// The first page at 72 pixels an inch.
    QImage rendered() const {
        return QImage::fromData(output({QStringLiteral("pdftoppm"), QStringLiteral("-r"),
                                        QStringLiteral("72"), QStringLiteral("-png"), _path}));
    }

 private:
    static QString dash() { return QStringLiteral("-"); }
    static QString run(const QStringList& words) { return QString::fromUtf8(output(words)); }
    static QByteArray output(QStringList words) {
        QProcess process;
        process.start(words.takeFirst(), words);
        process.waitForFinished();
        return process.readAllStandardOutput();
    }

    QString _path;
};
