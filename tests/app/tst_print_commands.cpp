// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TavlinAppDelegate.h"
#include "platform/imaging/DecoderProcess.h"
#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintPanels.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/PdfFile.h"
#include "testing/TestMain.h"
#include "viewer/ImageWindow.h"
#include "viewer/ImageWindowController.h"

#include <QApplication>
#include <QMessageBox>
#include <QPainter>
#include <QPrintDialog>
#include <QProcess>
#include <QProgressDialog>
#include <QRegularExpression>
#include <QTimer>

#include <sys/resource.h>
#include <csignal>

using namespace Qt::StringLiterals;
using platform::PrintInfo;
using platform::PrintPanel;

/// What comes of a print when something is wrong, and what the user sees of it, on a machine without
/// printers.
class PrintCommandsTest : public QObject {
    Q_OBJECT

    TavlinAppDelegate _delegate;
    QTemporaryDir _folder;
    QString _picture = _folder.filePath(u"a.png"_s);
    QString _paper = _folder.filePath(u"a.pdf"_s);
    std::unique_ptr<ImageWindowController> _controller;

    ImageWindow& window() { return *qobject_cast<ImageWindow*>(_controller->window()); }
    static void limitFiles(rlim_t bytes) {
        const rlimit limit{bytes, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    static QStringList messages(LogLines& log) {
        return log.taken().replaceInStrings(QRegularExpression(u" \\(\\d+\\)"_s), QString());
    }
    /// At 96 pixels an inch, 4 for 3 points.
    static QImage drawnByGhostscript(const QByteArray& eps) {
        QProcess process;
        process.start(u"gs"_s, {u"-q"_s, u"-dBATCH"_s, u"-dNOPAUSE"_s, u"-dEPSCrop"_s, u"-sDEVICE=png16m"_s,
                                u"-r96"_s, u"-sOutputFile=-"_s, u"-"_s});
        process.write(eps);
        process.closeWriteChannel();
        process.waitForFinished();
        return QImage::fromData(process.readAllStandardOutput());
    }

 private Q_SLOTS:
    void initTestCase() {
        qputenv("CUPS_SERVER", "/nonexistent/socket");
        std::signal(SIGXFSZ, SIG_IGN);
        platform::DecoderProcess::setInstalledProgram(
            QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"));
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->plausibilitaetsTest();
        appGlobals->setObjectForKey(false, PreferenceKeys::printIPTCMetadata);
    }
    void init() {
        QImage image(900, 600, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter(&image).fillRect(0, 0, 450, 600, QColor(200, 40, 90));
        QVERIFY(image.save(_picture));
        QFile::remove(_paper);
        _controller = std::make_unique<ImageWindowController>(u"ImageWindow"_s, this, _picture);
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    }
    void cleanup() { appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging); }

    void prints_data() {
        // pictures: on them; none is said in the log
        // isTold: that nothing was printed: what the user does not know
        const Table<int, int, bool> row("pages", "pictures", "isTold");
        row("nothing wrong", 1, 1, false);
        row("picture deleted", 1, 0, false);
        row("picture cut off", 1, 0, false);
        row("nowhere to write", 0, 0, true);
        row("disk full", 0, 0, true);
        for (const char* early :
             {"cancelled", "window closed", "progress cancelled", "window gone in progress"})
            row(early, 0, 0, false);
    }
    void prints() {
        QFETCH(const int, pages);
        QFETCH(const int, pictures);
        const QByteArray wrong = QTest::currentDataTag();
        PrintInfo& info = PrintInfo::sharedPrintInfo();
        info.printer().setOutputFileName(wrong == "nowhere to write" ? u"/nowhere/a.pdf"_s : _paper);
        const auto before = info.choice();
        (new PrintPanel(window()))->beginSheet(info, [this](PrintPanel& panel, int code, QWidget& context) {
            _delegate.printingDialogDidClose(panel, code, context);
        });
        auto* sheet = window().findChild<QPrintDialog*>();
        QVERIFY(sheet != nullptr && sheet->windowModality() == Qt::WindowModal);
        if (wrong == "picture deleted")
            QVERIFY(QFile::remove(_picture));
        if (wrong == "picture cut off")
            QVERIFY(QFile::resize(_picture, 300));
        if (wrong == "window closed") {
            _controller.reset();
            QVERIFY(!QFile::exists(_paper));
            return;
        }
        info.printer().setPageOrientation(QPageLayout::Landscape);
        LogLines log;
        limitFiles(wrong == "disk full" ? 4000 : RLIM_INFINITY);
        QTimer progress;
        connect(&progress, &QTimer::timeout, this, [this, wrong] {
            auto* panel = window().findChild<QProgressDialog*>();
            if (panel != nullptr && wrong == "progress cancelled")
                Q_EMIT panel->canceled();
            if (panel != nullptr && wrong == "window gone in progress")
                _controller = std::make_unique<ImageWindowController>(u"ImageWindow"_s, this, _picture);
        });
        progress.start(0);
        Q_EMIT sheet->finished(wrong == "cancelled" ? QDialog::Rejected : QDialog::Accepted);
        QTRY_VERIFY(window().findChild<PrintPanel*>() == nullptr);
        limitFiles(RLIM_INFINITY);
        QTEST(window().findChild<QMessageBox*>() != nullptr, "isTold");
        QCOMPARE(messages(log).contains(u"-[ImageWindow printView]: PHERDAMMT!"_s), pages > pictures);
        const PdfFile pdf(_paper);
        QCOMPARE(pdf.numberOfPages(), pages);
        if (wrong == "cancelled")
            QCOMPARE(info.printer().pageLayout(), before.layout);
        info.setChoice(before);
        if (pages == 0)
            return;
        QCOMPARE(pdf.text().simplified(), _picture);
        QCOMPARE(pdf.pictureSizes(), QList<QSize>(pictures, QSize(900, 600)));
        const QImage paper = pdf.rendered();
        QCOMPARE(qAbs(paper.pixelColor(200, 200).red() - 200) < 6, pictures == 1);
        QCOMPARE(paper.pixelColor(600, 200), QColor(Qt::white));
    }

    /// As it stands on the screen, the window goes onto paper and into documents of other programs.
    void documents() {
        LogLines log;
        const QByteArray eps = window().dataWithEPSInsideRect({0, 0, 600, 300});
        const QByteArray pdf = window().dataWithPDFInsideRect(window().rect());
        QCOMPARE(window().frame(), window().frameGeometry());
        PrintInfo::sharedPrintInfo().printer().setOutputFileName(_paper);
        window().print(this);
        Q_EMIT window().findChild<QPrintDialog*>()->finished(QDialog::Accepted);
        QTRY_COMPARE(PdfFile(_paper).numberOfPages(), 1);
        QVERIFY(PdfFile(_paper).text().contains(u"General metadata:"_s));
        QCOMPARE(messages(log).filter(u"-[ImageWindow "_s),
                 QStringList({u"-[ImageWindow dataWithEPSInsideRect:]: Yo!"_s,
                              u"-[ImageWindow dataWithPDFInsideRect:]: Yo!"_s,
                              u"-[ImageWindow frame]: Narf!"_s, u"-[ImageWindow print:]: Yo!"_s}));
        QVERIFY(eps.contains("%%BoundingBox: 0 0 450 225\n"));
        const QImage drawn = drawnByGhostscript(eps);
        QCOMPARE(drawn.size(), QSize(600, 300));
        const QImage shown = window().grab({0, 0, 600, 300}).toImage();
        for (const QPoint point : {QPoint(20, 40), QPoint(100, 150), QPoint(300, 290), QPoint(590, 10)})
            QVERIFY(qAbs(qGray(drawn.pixel(point)) - qGray(shown.pixel(point))) < 3);
        QFile file(_paper);
        QVERIFY(file.open(QFile::WriteOnly) && file.write(pdf) == pdf.size() && file.flush());
        QVERIFY(PdfFile(_paper).text().contains(u"General metadata:"_s));
    }
};

TAVLIN_TEST_MAIN(QApplication, PrintCommandsTest)
#include "tst_print_commands.moc"
