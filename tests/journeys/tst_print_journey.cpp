// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"
#include "testing/PdfFile.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>

#include <unistd.h>

using namespace Qt::StringLiterals;

/// Pictures are printed through the toolkit's own dialog, to files and to a queue.
class PrintJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void printsTheWindowInFront();
    void printsToAQueue();

 private:
    static QString searchFor(const Desktop& desktop, const QString& title) {
        return desktop.run(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, title}).trimmed();
    }
    static void bringToFront(const Desktop& desktop, const QString& title) {
        QTRY_VERIFY_WITH_TIMEOUT(!searchFor(desktop, title).isEmpty(), 20000);
        desktop.run(u"xdotool"_s, {u"windowactivate"_s, u"--sync"_s, searchFor(desktop, title)});
    }
    static void openWindows(const Desktop& desktop, const AccessibilityBus& bus) {
        QTRY_VERIFY_WITH_TIMEOUT(!cells(bus).empty(), 20000);
        desktop.click(cells(bus).begin()->second.center());
        desktop.key(u"ctrl+a"_s);
        desktop.key(u"Return"_s);
    }
};

namespace {

/// Puts IPTC keywords, in UTF-8, into a JPEG file.
void addKeywords(const QString& path, const QList<QByteArray>& keywords) {
    const auto dataSet = [](char record, char number, const QByteArray& value) {
        return QByteArray("\x1c") + record + number + char(value.size() >> 8) + char(value.size() & 0xff) +
               value;
    };
    QByteArray iptc = dataSet(1, 90, "\x1b%G");
    for (const QByteArray& keyword : keywords)
        iptc += dataSet(2, 25, keyword);
    if (iptc.size() % 2 != 0)
        iptc += '\0';
    const QByteArray block = QByteArray("Photoshop 3.0\0", 14) + QByteArray("8BIM\x04\x04\0\0\0\0", 10) +
                             char(iptc.size() >> 8) + char(iptc.size() & 0xff) + iptc;
    const auto length = block.size() + 2;
    QFile file(path);
    QVERIFY(file.open(QFile::ReadWrite));
    QByteArray content = file.readAll();
    content.insert(2, QByteArray("\xff\xed") + char(length >> 8) + char(length & 0xff) + block);
    file.seek(0);
    file.write(content);
}

QStringList printingLog(RunningProgram& program) {
    return program.debugLog().filter(
        QRegularExpression(u"openPrintingDialog|printingDialogDidClose|printView"_s));
}

}  // namespace

void PrintJourney::printsTheWindowInFront() {
    qputenv("CUPS_SERVER", "/nonexistent/socket");
    const Desktop desktop;
    if (!desktop.problem().isEmpty())
        QSKIP(qPrintable(desktop.problem()));
    const QString folder = makeFolder(desktop, u"to print"_s, 2);
    const QString first = folder + u"/000.jpg"_s;
    makePicture(first, colourOf(0), QSize(3000, 2000));
    addKeywords(first, {"Осень", "東京", "Łódź"});
    writeSettings(desktop, {{u"PreferencesDebugLoggingSettingKey"_s, u"true"_s}});
    const QString paper = desktop.folder(u"home/000.pdf"_s);
    const PdfFile pdf(paper);

    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);
    QTRY_VERIFY_WITH_TIMEOUT(!cells(bus).empty(), 20000);
    desktop.key(u"ctrl+p"_s);  // nothing to print is in front
    desktop.key(u"ctrl+comma"_s);
    QVERIFY(bus.find(u"check box"_s, u"Write a debug log"_s).isValid());
    bringToFront(desktop, u"^Preferences"_s);
    desktop.key(u"alt+g"_s);
    QVERIFY(program.waitForLog(u"PrintGeneralMetadataSettingKey = 1"_s));
    desktop.key(u"Escape"_s);
    QVERIFY(printingLog(program).isEmpty());

    openWindows(desktop, bus);
    bringToFront(desktop, u"^001.jpg"_s);
    bringToFront(desktop, u"^000.jpg"_s);
    desktop.key(u"ctrl+p"_s);
    QVERIFY(bus.find(u"push button"_s, u"Print"_s).isValid());
    desktop.keepScreenshot(u"print-sheet"_s);
    desktop.key(u"Escape"_s);
    const QString opened = u"-[TavlinAppDelegate openPrintingDialog:]"_s;
    const QString closed = u"-[TavlinAppDelegate printingDialogDidClose:returnCode:contextInfo:]"_s;
    QTRY_COMPARE(printingLog(program).filter(closed).size(), 1);
    QVERIFY(!QFile::exists(paper));

    bringToFront(desktop, u"^000.jpg"_s);
    desktop.key(u"ctrl+shift+p"_s);
    QTRY_VERIFY(!searchFor(desktop, u"^Page Setup"_s).isEmpty());
    desktop.keepScreenshot(u"page-setup"_s);
    desktop.click(bus.find(u"radio button"_s, u"Landscape"_s).extents.center());
    desktop.key(u"Return"_s);
    QTRY_VERIFY(searchFor(desktop, u"^Page Setup"_s).isEmpty());

    desktop.key(u"ctrl+p"_s);
    QTRY_VERIFY(!searchFor(desktop, u"^Print$"_s).isEmpty());
    bringToFront(desktop, u"^001.jpg"_s);
    bringToFront(desktop, u"^Print$"_s);
    desktop.key(u"Return"_s);
    QTRY_VERIFY_WITH_TIMEOUT(printingLog(program).filter(u"printRect.height"_s).size() == 1, 20000);
    if (!pdf.problem().isEmpty())
        QSKIP(qPrintable(pdf.problem()));
    QTRY_COMPARE_WITH_TIMEOUT(pdf.numberOfPages(), 1, 20000);
    pdf.keep();

    static const QRegularExpression header(u"\\(\\d+\\): "_s);
    QStringList texts;
    for (const QString& line : printingLog(program).mid(2))
        texts += line.section(header, 1).section(u": "_s, 0, 0);
    QCOMPARE(texts, QStringList({u"Start"_s, u"Start"_s, u"Foo"_s, u"Do the printing..."_s, u"leftMargin"_s,
                                 u"rightMargin"_s, u"topMargin"_s, u"bottomMargin"_s, u"printRect.x"_s,
                                 u"printRect.y"_s, u"printRect.width "_s, u"printRect.height"_s}));
    const QString text = pdf.text();
    qsizetype at = -1;
    for (const QString& expected : {first, u"General metadata:"_s, u"PixelWidth:"_s, u"3000"_s,
                                    u"IPTC meta data:"_s, u"Keywords:"_s, u"Осень, 東京, Łódź"_s}) {
        const qsizetype next = text.indexOf(expected, at + 1);
        QVERIFY2(next > at, qPrintable(expected + u" in "_s + text));
        at = next;
    }
    QVERIFY(!text.contains(u"EXIF"_s));
    QCOMPARE(pdf.pictureSizes(), QList<QSize>{QSize(3000, 2000)});
    const QImage page = pdf.rendered();
    QVERIFY(page.width() > page.height());
    const QColor seen = page.pixelColor(300, 200);
    const QColor expected = colourOf(0);
    QVERIFY2(qAbs(seen.red() - expected.red()) < 6 && qAbs(seen.green() - expected.green()) < 6 &&
                 qAbs(seen.blue() - expected.blue()) < 6,
             qPrintable(seen.name() + expected.name()));

    // The file has gone since the window opened: its text is printed all the same.
    QVERIFY(QFile::remove(folder + u"/001.jpg"_s));
    bringToFront(desktop, u"^001.jpg"_s);
    desktop.key(u"ctrl+p"_s);
    QTRY_VERIFY(!searchFor(desktop, u"^Print$"_s).isEmpty());
    desktop.key(u"Return"_s);
    QVERIFY(program.waitForLog(u"PHERDAMMT!"_s, 20000));
    const PdfFile withoutPicture(desktop.folder(u"home/001.pdf"_s));
    QTRY_COMPARE_WITH_TIMEOUT(withoutPicture.numberOfPages(), 1, 20000);
    QVERIFY(withoutPicture.text().startsWith(folder + u"/001.jpg"_s));
    QVERIFY(withoutPicture.pictureSizes().isEmpty());
    QCOMPARE(program.terminate(), 0);
}

namespace {

/// A print service of the test's own, whose one queue keeps what it is sent.
class PrintService {
 public:
    explicit PrintService(const QDir& root) : _root(root) {
        if (::geteuid() != 0)
            _problem = u"only root may start a print service"_s;
        else if (QStandardPaths::findExecutable(u"cupsd"_s, {u"/usr/sbin"_s}).isEmpty())
            _problem = u"no cups"_s;
        else
            start();
    }
    ~PrintService() {
        _daemon.terminate();
        if (_daemon.state() != QProcess::NotRunning && !_daemon.waitForFinished(5000))
            _daemon.kill();
        _daemon.waitForFinished(2000);
    }

    const QString& problem() const { return _problem; }
    QString firstDocument() const { return _root.filePath(u"spool/d00001-001"_s); }

 private:
    void start() {
        for (const char* folder : {"spool/tmp", "cache", "state/certs", "conf/ppd"})
            _root.mkpath(QString::fromLatin1(folder));
        const QByteArray root = _root.path().toUtf8();
        write(u"cupsd.conf"_s, "PreserveJobFiles Yes\nListen " + root +
                                   "/socket\nBrowsing Off\nWebInterface No\nDefaultAuthType None\n"
                                   "<Location />\nOrder allow,deny\nAllow all\n</Location>\n"
                                   "<Policy default>\n<Limit All>\nOrder deny,allow\n</Limit>\n</Policy>\n");
        write(u"files.conf"_s, "ServerRoot " + root + "/conf\nRequestRoot " + root + "/spool\nTempDir " +
                                   root + "/spool/tmp\nCacheDir " + root + "/cache\nStateDir " + root +
                                   "/state\nAccessLog " + root + "/access\nErrorLog " + root +
                                   "/error\nPageLog " + root + "/page\nSystemGroup root\n");
        qputenv("CUPS_SERVER", root + "/socket");
        _daemon.setStandardErrorFile(QProcess::nullDevice());
        _daemon.start(u"/usr/sbin/cupsd"_s, {u"-f"_s, u"-c"_s, _root.filePath(u"cupsd.conf"_s), u"-s"_s,
                                             _root.filePath(u"files.conf"_s)});
        const bool isUp = QTest::qWaitFor([&] { return QFile::exists(_root.filePath(u"socket"_s)); }, 10000);
        const QStringList queue{u"-p"_s, u"Paper"_s, u"-E"_s, u"-v"_s, u"file:///dev/null"_s,
                                u"-m"_s, u"raw"_s};
        if (!isUp || QProcess::execute(u"lpadmin"_s, queue) != 0 ||
            QProcess::execute(u"lpadmin"_s, {u"-d"_s, u"Paper"_s}) != 0)
            _problem = u"the print service did not come up"_s;
    }
    void write(const QString& name, const QByteArray& content) const {
        QFile file(_root.filePath(name));
        if (file.open(QFile::WriteOnly))
            file.write(content);
    }

    QDir _root;
    QProcess _daemon;
    QString _problem;
};

}  // namespace

void PrintJourney::printsToAQueue() {
    const QTemporaryDir root;
    const PrintService service(QDir(root.path()));
    if (!service.problem().isEmpty())
        QSKIP(qPrintable(service.problem()));
    const Desktop desktop;
    if (!desktop.problem().isEmpty())
        QSKIP(qPrintable(desktop.problem()));
    const QString folder = makeFolder(desktop, u"queue"_s, 1);
    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);
    openWindows(desktop, bus);
    bringToFront(desktop, u"^000.jpg"_s);
    desktop.key(u"ctrl+p"_s);
    QTRY_VERIFY(!searchFor(desktop, u"^Print$"_s).isEmpty());
    desktop.keepScreenshot(u"print-queue"_s);
    desktop.key(u"Return"_s);
    const PdfFile pdf(service.firstDocument());
    if (!pdf.problem().isEmpty())
        QSKIP(qPrintable(pdf.problem()));
    QTRY_COMPARE_WITH_TIMEOUT(pdf.numberOfPages(), 1, 20000);
    QCOMPARE(pdf.pictureSizes(), QList<QSize>{QSize(640, 480)});
    QCOMPARE(program.terminate(), 0);
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    PrintJourney journey;
    return QTest::qExec(&journey, argc, argv);
}

#include "tst_print_journey.moc"
