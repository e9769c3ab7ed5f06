// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintOperation.h"
#include "platform/printing/PrintPage.h"
#include "testing/PdfFile.h"
#include "testing/TestMain.h"

#include <QApplication>
#include <QFontDatabase>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using platform::PrintInfo;

namespace {

QString lines(int count) {
    QString text = u"/a/path of many/pictures/one.jpg\n\nEXIF meta data:\n\n"_s;
    for (int i = 0; i < count; ++i)
        text += u"Key%1:"_s.arg(i).leftJustified(33) + u"value %1\n"_s.arg(i * 7);
    return text;
}

/// As readers give it back: letters in their joined forms, and right-to-left ones between marks.
QString bare(const QString& text) {
    static const QRegularExpression noLetters(u"[\\s\u202a-\u202e]"_s);
    return text.normalized(QString::NormalizationForm_KC).remove(noLetters);
}

}  // namespace

/// Pages as they come onto paper; where TAVLIN_SCREENSHOTS names a folder they stay there to be looked at.
class PrintingTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void pages_data() {
        // isFullSize: the text keeps its 7 points
        // share: of the paper that the picture covers at least
        const Table<bool, QSize, QString, bool, double> row("isLandscape", "size", "summary", "isFullSize",
                                                            "share");
        const QSize landscape(3000, 2000);
        const QSize portrait(2000, 3000);
        const QString path = u"/a/b.jpg"_s;
        const QString scripts = u"/Снимки/图片.jpg\n\n東京タワー, 夜景, 서울\nŁódź, Ελλάδα\nسماء, غروب\n"_s;
        const QString longLine = u"Caption:"_s + u" a word"_s.repeated(150) + QString(400, u'z');
        row("path alone", false, portrait, path, true, 0.7);
        row("portrait, landscape paper", true, portrait, lines(40), true, 0.33);
        row("two columns", false, portrait, lines(90), true, 0.2);
        row("panorama", false, QSize(6000, 1000), lines(120), true, 0.11);
        row("small picture", false, QSize(64, 64), lines(20), true, 0.005);
        row("no picture", false, QSize(), lines(20), true, 0.0);
        row("many scripts", false, landscape, scripts, true, 0.38);
        row("long line", false, landscape, longLine, true, 0.3);
        row("5000 lines", false, landscape, lines(5000), false, 0.1);
    }

    void pages() {
        QFETCH(const bool, isLandscape);
        QFETCH(const QSize, size);
        QFETCH(const QString, summary);
        QFETCH(const double, share);
        platform::PrintPage page;
        auto* picture = new platform::PrintImageView(&page);
        auto* text = new platform::PrintTextField(&page);
        text->setFont(QFont(QFontDatabase::systemFont(QFontDatabase::FixedFont).family(), 7));
        text->setStringValue(summary);
        QImage image(size, QImage::Format_RGB32);
        image.fill(QColor(200, 120, 40));
        picture->setImage(image);
        const QTemporaryDir folder;
        const QString kept = qEnvironmentVariable("TAVLIN_SCREENSHOTS", folder.path());
        const QString path = kept + u'/' + QString::fromLatin1(QTest::currentDataTag()) + u".pdf"_s;
        PrintInfo& info = PrintInfo::sharedPrintInfo();
        info.printer().setPageOrientation(isLandscape ? QPageLayout::Landscape : QPageLayout::Portrait);
        info.printer().setOutputFileName(path);
        QVERIFY(platform::PrintOperation(page, info).run());

        QVERIFY(page.rect().contains(picture->geometry()));
        QVERIFY(page.rect().adjusted(0, 0, 0, 1).contains(text->geometry()));
        QVERIFY(!picture->geometry().intersects(text->geometry()));
        QTEST(text->text().font().pointSize() == 7 && text->setting().scale == 1, "isFullSize");
        QVERIFY(picture->width() * picture->height() >= share * page.width() * page.height());
        const PdfFile pdf(path);
        QCOMPARE(pdf.numberOfPages(), 1);
        QCOMPARE(pdf.pictureSizes(), size.isEmpty() ? QList<QSize>() : QList<QSize>{size});
        // The reader gives up after 50,000 tiny letters.
        const QString read = bare(pdf.text());
        QCOMPARE(read, bare(summary).left(read.size()));
        QVERIFY(read.size() >= qMin<qsizetype>(bare(summary).size(), 10000));
    }
};

TAVLIN_TEST_MAIN(QApplication, PrintingTest)
#include "tst_printing.moc"
