// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QSize>
#include <QStandardPaths>
#include <QString>

/// A PDF file as the poppler tools read it.
class PdfFile {
 public:
    explicit PdfFile(QString path) : _path(std::move(path)) {}

    /// Empty when the tools are there.
    static QString problem() {
        return QStandardPaths::findExecutable(QStringLiteral("pdfinfo")).isEmpty()
                   ? QStringLiteral("no poppler-utils")
                   : QString();
    }
    int numberOfPages() const { return value(QStringLiteral("Pages")).toInt(); }
    /// The text in the order in which it was drawn.
    QString text() const {
        return QString::fromUtf8(
                   run(QStringLiteral("pdftotext"), {QStringLiteral("-raw")}, {QStringLiteral("-")}))
            .remove(u'\f');
    }
    QList<QSize> pictureSizes() const {
        QList<QSize> sizes;
        const auto rows = QString::fromUtf8(run(QStringLiteral("pdfimages"), {QStringLiteral("-list")}))
                              .split(u'\n', Qt::SkipEmptyParts);
        for (const QString& row : rows.mid(2)) {
            const QStringList columns = row.simplified().split(u' ');
            sizes += QSize(columns.value(3).toInt(), columns.value(4).toInt());
        }
        return sizes;
    }
    /// The first page at 72 pixels an inch.
    QImage rendered() const {
        const QByteArray png = run(QStringLiteral("pdftoppm"),
                                   {QStringLiteral("-r"), QStringLiteral("72"), QStringLiteral("-png")});
        return QImage::fromData(png, "PNG");
    }
    /// Saves a copy where TAVLIN_SCREENSHOTS names a folder, for people to look at.
    void keep() const {
        const QString folder = qEnvironmentVariable("TAVLIN_SCREENSHOTS");
        if (!folder.isEmpty())
            QFile::copy(_path, QDir(folder).filePath(QFileInfo(_path).fileName()));
    }

 private:
    QString value(const QString& key) const {
        const QRegularExpression line(u'^' + key + QStringLiteral(":\\s+(.*)$"),
                                      QRegularExpression::MultilineOption);
        return line.match(QString::fromUtf8(run(QStringLiteral("pdfinfo"), {}))).captured(1);
    }
    QByteArray run(const QString& program, const QStringList& before, const QStringList& after = {}) const {
        QProcess process;
        process.start(program, before + QStringList{_path} + after);
        process.waitForFinished();
        return process.readAllStandardOutput();
    }

    QString _path;
};
