// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"
#include "testing/PdfFile.h"

#include <QRegularExpression>

#include <unistd.h>

using namespace Qt::StringLiterals;

/// Pictures are printed through the toolkit's own panels, to a file and to a queue.
class PrintJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void printsTheWindowInFront() {
        qputenv("CUPS_SERVER", "/nonexistent/socket");
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"to print"_s, 2);
        const QString first = folder + u"/000.jpg"_s;
        makePicture(first, colourOf(0), QSize(3000, 2000));
        writeSettings(desktop, {{u"PreferencesDebugLoggingSettingKey"_s, u"true"_s}});
        RunningProgram program(desktop, {folder});
        const AccessibilityBus bus(desktop);
        QTRY_VERIFY_WITH_TIMEOUT(!cells(bus).empty(), 20000);
        const auto log = [&program] {
            static const QRegularExpression ours(u"openPrintingDialog|printingDialogDidClose|printView"_s);
            static const QRegularExpression values(u"^.*\\(\\d+\\): |: -?\\d+$"_s);
            return program.debugLog().filter(ours).replaceInStrings(values, QString());
        };

        desktop.key(u"ctrl+p"_s);  // no picture's window is in front
        desktop.key(u"ctrl+comma"_s);
        desktop.bringToFront(u"^Preferences"_s);
        desktop.key(u"alt+g"_s);
        QVERIFY(program.waitForLog(u"PrintGeneralMetadataSettingKey = 1"_s));
        desktop.key(u"Escape"_s);
        openAll(desktop, bus);
        desktop.bringToFront(u"^001.jpg"_s);
        desktop.bringToFront(u"^000.jpg"_s);
        desktop.key(u"ctrl+shift+p"_s);
        desktop.bringToFront(u"^Page Setup"_s);
        desktop.click(bus.find(u"radio button"_s, u"Landscape"_s).extents.center());
        desktop.key(u"Return"_s);
        QTRY_VERIFY(desktop.windows(u"^Page Setup"_s).isEmpty());
        QVERIFY(log().isEmpty());

        // Another window comes to the front meanwhile.
        desktop.key(u"ctrl+p"_s);
        desktop.bringToFront(u"^001.jpg"_s);
        desktop.bringToFront(u"^Print"_s);
        desktop.keepScreenshot(u"print-sheet"_s);
        desktop.key(u"Return"_s);
        const PdfFile pdf(desktop.folder(u"home/000.pdf"_s));
        QTRY_COMPARE_WITH_TIMEOUT(pdf.numberOfPages(), 1, 20000);
        QCOMPARE(log(),
                 QStringList({u"Start"_s, u"Start"_s, u"Foo"_s, u"Do the printing..."_s, u"leftMargin"_s,
                              u"rightMargin"_s, u"topMargin"_s, u"bottomMargin"_s, u"printRect.x"_s,
                              u"printRect.y"_s, u"printRect.width "_s, u"printRect.height"_s}));
        const QRegularExpression inOrder(
            u"^"_s + QRegularExpression::escape(first) +
                u"\\s+General metadata:\\s+PixelWidth: +3000\\s.*\\sIPTC meta data:\\s+$"_s,
            QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(inOrder.match(pdf.text()).hasMatch(), qPrintable(pdf.text()));
        QCOMPARE(pdf.pictureSizes(), QList<QSize>{QSize(3000, 2000)});
        const QImage page = pdf.rendered();
        QVERIFY(page.width() > page.height());
        QVERIFY(shows(page, QRect(300, 200, 9, 9), colourOf(0)));
        QCOMPARE(program.terminate(), 0);
    }
    void printsToAQueue() {
        if (::geteuid() != 0 || !QFile::exists(u"/usr/sbin/cupsd"_s))
            QSKIP("A print service needs root and cups");
        const QTemporaryDir root;
        QProcess daemon;
        if (!startPrintService(QDir(root.path()), daemon))
            QSKIP("The print service did not come up");
        TAVLIN_DESKTOP(desktop);
        RunningProgram program(desktop, {makeFolder(desktop, u"queue"_s, 1)});
        openAll(desktop, AccessibilityBus(desktop));
        desktop.bringToFront(u"^000.jpg"_s);
        desktop.key(u"ctrl+p"_s);
        desktop.bringToFront(u"^Print"_s);
        desktop.key(u"Return"_s);
        const PdfFile pdf(root.filePath(u"spool/d00001-001"_s));
        QTRY_COMPARE_WITH_TIMEOUT(pdf.numberOfPages(), 1, 20000);
        QCOMPARE(pdf.pictureSizes(), QList<QSize>{QSize(640, 480)});
        QCOMPARE(program.terminate(), 0);
        daemon.terminate();
        QVERIFY(daemon.waitForFinished(20000));
    }

 private:
    static void openAll(const Desktop& desktop, const AccessibilityBus& bus) {
        QTRY_VERIFY_WITH_TIMEOUT(!cells(bus).empty(), 20000);
        desktop.click(cells(bus).begin()->second.center());
        desktop.key(u"ctrl+a"_s);
        desktop.key(u"Return"_s);
    }
    /// One queue, which keeps what it is sent in spool/d00001-001.
    static bool startPrintService(const QDir& root, QProcess& daemon) {
        const QString at = root.path();
        for (const char* folder : {"spool/tmp", "cache", "state/certs", "conf/ppd"})
            root.mkpath(QString::fromLatin1(folder));
        const auto write = [&](const char* name, QString content) {
            QFile file(root.filePath(QString::fromLatin1(name)));
            return file.open(QFile::WriteOnly) && file.write(content.replace(u"@"_s, at).toUtf8()) > 0;
        };
        write("cupsd.conf",
              u"Listen @/socket\nPreserveJobFiles Yes\nBrowsing Off\nDefaultAuthType None\n"
              "<Location />\nAllow all\n</Location>\n"
              "<Policy default>\n<Limit All>\nOrder deny,allow\n</Limit>\n</Policy>\n"_s);
        write("files.conf",
              u"ServerRoot @/conf\nRequestRoot @/spool\nTempDir @/spool/tmp\nCacheDir @/cache\n"
              "StateDir @/state\nAccessLog @/access\nErrorLog @/error\nPageLog @/page\n"_s);
        qputenv("CUPS_SERVER", (at + u"/socket"_s).toUtf8());
        daemon.start(u"/usr/sbin/cupsd"_s,
                     {u"-f"_s, u"-c"_s, at + u"/cupsd.conf"_s, u"-s"_s, at + u"/files.conf"_s});
        return daemon.waitForStarted() && QTest::qWaitFor([&] { return root.exists(u"socket"_s); }, 20000) &&
               QProcess::execute(u"lpadmin"_s, {u"-p"_s, u"Paper"_s, u"-E"_s, u"-m"_s, u"raw"_s, u"-v"_s,
                                                u"file:///dev/null"_s}) == 0 &&
               QProcess::execute(u"lpadmin"_s, {u"-d"_s, u"Paper"_s}) == 0;
    }
};

QTEST_MAIN(PrintJourney)
#include "tst_print_journey.moc"
