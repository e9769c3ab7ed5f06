// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TavlinAppDelegate.h"
#include "platform/imaging/DecoderProcess.h"
#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintPage.h"
#include "platform/printing/PrintPanels.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/PdfFile.h"
#include "testing/TestHome.h"
#include "viewer/ImageWindow.h"
#include "viewer/ImageWindowController.h"

#include <QApplication>
#include <QMessageBox>
#include <QPainter>
#include <QPrintDialog>
#include <QProgressDialog>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::PrintInfo;
using platform::PrintPanel;

namespace {

/// Sees the progress panel being painted.
struct PanelWatcher : QObject {
    int painted = 0;

    PanelWatcher() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint && qobject_cast<QProgressDialog*>(watched) != nullptr)
            ++painted;
        return false;
    }
};

}  // namespace

/// What comes of a print when something is wrong, and what the user sees of it.
class PrintCommandsTest : public QObject {
    Q_OBJECT

    TavlinAppDelegate _delegate;
    QTemporaryDir _folder;
    QString _picture;
    QString _paper;
    std::unique_ptr<ImageWindowController> _controller;

    ImageWindow& window() { return *qobject_cast<ImageWindow*>(_controller->window()); }
    /// What the log says, without line numbers.
    static QStringList messages(LogLines& log) {
        QStringList lines = log.taken();
        for (QString& line : lines)
            line.remove(QRegularExpression(u" \\(\\d+\\)"_s));
        return lines;
    }
    void openSheet() {
        auto* panel = new PrintPanel(window());
        panel->beginSheet(PrintInfo::sharedPrintInfo(),
                          [this](PrintPanel& ended, int code, QWidget& context) {
                              _delegate.printingDialogDidClose(ended, code, context);
                          });
    }

 private Q_SLOTS:
    void initTestCase() {
        platform::DecoderProcess::setInstalledProgram(
            QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"));
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->plausibilitaetsTest();
        appGlobals->setObjectForKey(false, PreferenceKeys::printIPTCMetadata);
        _picture = _folder.filePath(u"a.png"_s);
        _paper = _folder.filePath(u"a.pdf"_s);
    }

    /// A fresh picture, half of it see-through, in a window of its own.
    void init() {
        QImage image(900, 600, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter(&image).fillRect(0, 0, 450, 600, QColor(200, 40, 90));
        QVERIFY(image.save(_picture));
        QFile::remove(_paper);
        _controller = std::make_unique<ImageWindowController>(u"ImageWindow"_s, this, _picture);
        PrintInfo::sharedPrintInfo().printer().setOutputFileName(_paper);
    }
    void cleanup() { _controller.reset(); }

    void pictures_data() {
        QTest::addColumn<int>("bytesLeft");  // of the file, when it is printed; -1: all, -2: no file
        QTest::addColumn<int>("pictures");   // on the page
        QTest::newRow("nothing wrong") << -1 << 1;
        QTest::newRow("deleted") << -2 << 0;
        QTest::newRow("cut off") << 300 << 0;
        QTest::newRow("empty") << 0 << 0;
    }
    void pictures() {
        QFETCH(const int, bytesLeft);
        QFETCH(const int, pictures);
        if (bytesLeft >= 0)
            QVERIFY(QFile::resize(_picture, bytesLeft));
        if (bytesLeft == -2)
            QVERIFY(QFile::remove(_picture));
        PrintPanel panel(window());
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        const PanelWatcher progress;
        _delegate.printingDialogDidClose(panel, PrintPanel::ok, window());
        appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging);
        QVERIFY(progress.painted > 0);
        QVERIFY(window().findChild<QProgressDialog*>() == nullptr);
        const QStringList lines = messages(log);
        const QString ended = u"-[TavlinAppDelegate printingDialogDidClose:returnCode:contextInfo:]: "_s;
        QStringList expected{ended + u"Start"_s, u"-[ImageWindow printView]: Foo"_s};
        if (pictures == 0)
            expected += u"-[ImageWindow printView]: PHERDAMMT!"_s;
        expected += {ended + u"Do the printing..."_s, ended + u"leftMargin: 43"_s};
        QCOMPARE(lines.first(expected.size()), expected);
        QVERIFY(window().findChild<QMessageBox*>() == nullptr);

        const PdfFile pdf(_paper);
        if (!PdfFile::problem().isEmpty())
            QSKIP(qPrintable(PdfFile::problem()));
        QCOMPARE(pdf.numberOfPages(), 1);
        QCOMPARE(pdf.text().remove(u'\n'), _picture);
        QCOMPARE(pdf.pictureSizes(), QList<QSize>(pictures, QSize(900, 600)));
        if (pictures == 0)
            return;
        const QImage paper = pdf.rendered();
        QVERIFY(qAbs(paper.pixelColor(150, 200).red() - 200) < 6);
        QCOMPARE(paper.pixelColor(450, 200), QColor(Qt::white));
    }

    /// Nothing is printed, and the user is told only what they do not know.
    void nothingPrinted_data() {
        QTest::addColumn<QString>("wrong");
        QTest::addColumn<bool>("isTold");
        QTest::newRow("the target cannot be written") << u"target"_s << true;
        QTest::newRow("cancelled") << u"cancelled"_s << false;
        QTest::newRow("cancelled by the window's end") << u"closed"_s << false;
        QTest::newRow("the window hides") << u"hidden"_s << false;
    }
    void nothingPrinted() {
        QFETCH(const QString, wrong);
        QFETCH(const bool, isTold);
        QPrinter& printer = PrintInfo::sharedPrintInfo().printer();
        openSheet();
        auto* sheet = window().findChild<QPrintDialog*>();
        QVERIFY(sheet != nullptr && sheet->windowModality() == Qt::WindowModal);
        if (wrong == u"closed") {
            const QPointer<QPrintDialog> gone(sheet);
            _controller.reset();
            QVERIFY(gone.isNull());
            QVERIFY(!QFile::exists(_paper));
            return;
        }
        if (wrong == u"target") {
            printer.setOutputFileName(u"/nowhere/a.pdf"_s);
            Q_EMIT sheet->finished(QDialog::Accepted);
        } else if (wrong == u"hidden") {
            window().hide();
            Q_EMIT sheet->finished(QDialog::Accepted);
        } else {
            printer.setPageOrientation(QPageLayout::Landscape);
            printer.setOutputFileName(u"/elsewhere/b.pdf"_s);
            sheet->reject();
            QCOMPARE(printer.outputFileName(), _paper);
            QCOMPARE(printer.pageLayout().orientation(), QPageLayout::Portrait);
        }
        QTRY_VERIFY(window().findChild<PrintPanel*>() == nullptr);
        QVERIFY(!QFile::exists(_paper));
        const auto* told = window().findChild<QMessageBox*>();
        QCOMPARE(told != nullptr, isTold);
        if (told != nullptr) {
            QVERIFY(told->isVisible());
            if (const QString folder = qEnvironmentVariable("TAVLIN_SCREENSHOTS"); !folder.isEmpty())
                const_cast<QMessageBox*>(told)->grab().save(folder + u"/print-failed.png"_s);
        }
    }

    /// As it stands on the screen, the window goes into documents of other programs.
    void documents() {
        const QRect part(0, 0, 600, 300);
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        const QByteArray eps = window().dataWithEPSInsideRect(part);
        const QByteArray pdf = window().dataWithPDFInsideRect(window().rect());
        QCOMPARE(window().frame(), window().frameGeometry());
        appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging);
        QCOMPARE(messages(log), QStringList({u"-[ImageWindow dataWithEPSInsideRect:]: Yo!"_s,
                                             u"-[ImageWindow dataWithPDFInsideRect:]: Yo!"_s,
                                             u"-[ImageWindow frame]: Narf!"_s}));
        QVERIFY(eps.startsWith("%!PS-Adobe-3.0 EPSF-3.0\n"));
        QVERIFY(eps.contains("%%BoundingBox: 0 0 450 225\n"));
        QFile file(_paper);
        QVERIFY(file.open(QFile::WriteOnly) && file.write(pdf) == pdf.size());
        file.close();
        const PdfFile document(_paper);
        if (!PdfFile::problem().isEmpty())
            QSKIP(qPrintable(PdfFile::problem()));
        document.keep();
        QCOMPARE(document.numberOfPages(), 1);
        QVERIFY(document.text().contains(u"General metadata:"_s));
    }
};

int main(int argc, char** argv) {
    const TestHome home;
    qputenv("CUPS_SERVER", "/nonexistent/socket");  // a machine without printers
    QApplication application(argc, argv);
    PrintCommandsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_print_commands.moc"
