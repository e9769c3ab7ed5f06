// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PageArrangement.h"
#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintOperation.h"
#include "platform/printing/PrintPage.h"
#include "testing/PdfFile.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QFontDatabase>
#include <QLabel>
#include <QPainter>
#include <QTest>

#include <sys/resource.h>
#include <csignal>

using namespace Qt::StringLiterals;
using platform::PrintInfo;

namespace {

QString lines(int count) {
    QString text = u"/a/path of many/pictures/one.jpg\n\nEXIF meta data:\n\n"_s;
    for (int i = 0; i < count; ++i)
        text += u"Key%1:"_s.arg(i).leftJustified(33) + u"value %1\n"_s.arg(i * 7);
    return text;
}

const QString scripts =
    u"/home/Снимки/图片.jpg\n\nIPTC meta data:\n\n"
    "Keywords:                        Осень, Москва-река, Ёлка\n"
    "Keywords:                        東京タワー, 夜景, 서울\n"
    "Keywords:                        Zürich, Łódź, Ελλάδα\n"
    "Keywords:                        سماء, غروب\n"_s;

QImage pictureOf(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(200, 120, 40));
    QPainter painter(&image);
    painter.fillRect(0, 0, size.width() / 2, size.height() / 2, QColor(20, 60, 160));
    return image;
}

}  // namespace

/// Pages as they come onto paper.
class PrintingTest : public QObject {
    Q_OBJECT

    /// A page with this on it, as an image window fills it.
    struct Page {
        platform::PrintPage page;
        platform::PrintImageView* picture = new platform::PrintImageView(&page);
        platform::PrintTextField* text = new platform::PrintTextField(&page);

        Page(QSize size, const QString& summary) {
            QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
            font.setPointSizeF(7);
            text->setFont(font);
            text->setStringValue(summary);
            if (!size.isEmpty())
                picture->setImage(pictureOf(size));
        }
    };

    QTemporaryDir _folder;

    bool print(QWidget& view, const QString& path) {
        PrintInfo& info = PrintInfo::sharedPrintInfo();
        info.printer().setOutputFileName(path);
        info.setHorizontalPagination(PrintInfo::Pagination::fit);
        info.setVerticalPagination(PrintInfo::Pagination::fit);
        return platform::PrintOperation(view, info).run();
    }

 private Q_SLOTS:
    void pages_data() {
        QTest::addColumn<bool>("isLandscape");
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<bool>("isFullSize");  // the text keeps its 7 points
        QTest::addColumn<double>("share");     // of the paper that the picture covers at least
        const QString path = u"/a/b.jpg"_s;
        const QString longLine = path + u"\n\nCaption:"_s + u" a word"_s.repeated(150) + u" x"_s.repeated(9) +
                                 u'y' + QString(400, u'z') + u'\n';
        const QSize landscape(3000, 2000);
        const QSize portrait(2000, 3000);
        const auto row = [](const char* name, bool isLandscape, QSize picture, const QString& summary,
                            bool isFullSize, double share) {
            QTest::newRow(name) << isLandscape << picture << summary << isFullSize << share;
        };
        row("path alone", false, portrait, path, true, 0.7);
        row("landscape, path alone", true, landscape, path, true, 0.6);
        row("short", false, landscape, lines(20), true, 0.38);
        row("portrait picture, landscape paper", true, portrait, lines(40), true, 0.33);
        row("two columns", false, portrait, lines(90), true, 0.2);
        row("panorama", false, QSize(6000, 1000), lines(120), true, 0.11);
        row("tower", false, QSize(500, 4000), lines(60), true, 0.08);
        row("small picture", false, QSize(64, 64), lines(20), true, 0.005);
        row("no picture", false, QSize(), lines(20), true, 0);
        row("many scripts", false, landscape, scripts, true, 0.38);
        row("long lines", false, landscape, longLine, true, 0.3);
        row("400 lines", false, landscape, lines(400), false, 0.1);
        row("5000 lines", false, landscape, lines(5000), false, 0.1);
        row("5000 lines, landscape", true, portrait, lines(5000), false, 0.06);
    }

    void pages() {
        QFETCH(bool, isLandscape);
        QFETCH(QSize, picture);
        QFETCH(QString, summary);
        QFETCH(double, share);
        QPrinter& printer = PrintInfo::sharedPrintInfo().printer();
        printer.setPageOrientation(isLandscape ? QPageLayout::Landscape : QPageLayout::Portrait);
        Page page(picture, summary);
        const QString path = _folder.filePath(QString::fromLatin1(QTest::currentDataTag()) + u".pdf"_s);
        QVERIFY(print(page.page, path));

        const QRect paper = page.page.rect();
        QVERIFY(paper.contains(page.picture->geometry()));
        QVERIFY(paper.adjusted(0, 0, 0, 1).contains(page.text->geometry()));
        QVERIFY(!page.picture->geometry().intersects(page.text->geometry()));
        QTEST(page.text->setting().scale == 1, "isFullSize");
        const auto areaOf = [](QSize size) {
            return double(size.width()) * size.height();
        };
        QVERIFY2(areaOf(page.picture->size()) >= share * areaOf(paper.size()),
                 qPrintable(QString::number(areaOf(page.picture->size()) / areaOf(paper.size()))));

        const PdfFile pdf(path);
        if (!pdf.problem().isEmpty())
            QSKIP(qPrintable(pdf.problem()));
        pdf.keep();
        QCOMPARE(pdf.numberOfPages(), 1);
        // Letters come back in their joined forms, and right-to-left ones between marks.
        const auto bare = [](const QString& text) {
            return text.normalized(QString::NormalizationForm_KC)
                .remove(QRegularExpression(u"[\\s\u202a-\u202e]"_s));
        };
        // The reader gives up after 50,000 tiny letters.
        const QString read = bare(pdf.text());
        QVERIFY(bare(summary).size() == read.size() || read.size() > 10000);
        QCOMPARE(read, bare(summary).left(read.size()));
        QCOMPARE(pdf.pictureSizes(), picture.isEmpty() ? QList<QSize>() : QList<QSize>{picture});
    }

    /// Only what a print writes tells whether it went well.
    void failures_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("isDiskFull");
        QTest::newRow("no such folder") << u"/nowhere/at all.pdf"_s << false;
        QTest::newRow("a folder") << u"."_s << false;
        QTest::newRow("a full disk") << u"full.pdf"_s << true;
    }
    void failures() {
        QFETCH(QString, path);
        QFETCH(bool, isDiskFull);
        Page page(QSize(300, 200), lines(3));
        rlimit before{};
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit full{2000, before.rlim_max};
        std::signal(SIGXFSZ, SIG_IGN);
        if (isDiskFull)
            ::setrlimit(RLIMIT_FSIZE, &full);
        const bool isDone = print(page.page, QDir(_folder.path()).absoluteFilePath(path));
        ::setrlimit(RLIMIT_FSIZE, &before);
        QVERIFY(!isDone);
    }

    /// A view of its own size, larger than the page: scaled down both ways, or cut.
    void pagination() {
        QLabel view;
        view.resize(4000, 300);
        view.setStyleSheet(u"background: #c87828"_s);
        const QString path = _folder.filePath(u"wide.pdf"_s);
        QVERIFY(print(view, path));
        const PdfFile pdf(path);
        if (!pdf.problem().isEmpty())
            QSKIP(qPrintable(pdf.problem()));
        const QImage paper = pdf.rendered();
        const QRectF inner = PrintInfo::sharedPrintInfo().imageablePageBounds();
        const auto colourAt = [&](double x) {
            const double height = inner.width() * 300 / 4000;
            return paper.pixelColor(int(inner.x() + inner.width() * x), int(inner.y() + height * 0.75));
        };
        QCOMPARE(colourAt(-0.01), QColor(Qt::white));
        QVERIFY(qAbs(colourAt(0.02).red() - 200) < 12);
        QVERIFY(qAbs(colourAt(0.98).red() - 200) < 12);
        QCOMPARE(colourAt(1.01), QColor(Qt::white));
    }
};

TAVLIN_TEST_MAIN(QApplication, PrintingTest)
#include "tst_printing.moc"
