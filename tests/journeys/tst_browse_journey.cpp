// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <csignal>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>

/// The main road, as a person goes it, with the built program on a real X server.
class BrowseJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void browsesAFolder();
    void settingsOfTheFileAreSeen();
    void logTellsOfASelectionInOrder();
    void killedDecoderCostsNothing();
    void lastFolderAskedForWins();
};

#define SKIP_WITHOUT(desktop)           \
    if (!(desktop).problem().isEmpty()) \
    QSKIP(qPrintable((desktop).problem()))

void BrowseJourney::browsesAFolder() {
    const Desktop desktop;
    SKIP_WITHOUT(desktop);
    const QString folder = makeFolder(desktop, QStringLiteral("pictures of a journey"), 60);
    writeSettings(desktop, {{QStringLiteral("PreferencesDebugLoggingSettingKey"), QStringLiteral("true")}});
    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);

    QVERIFY(waitForThumbnails(desktop, bus));
    const auto atFirst = cells(bus);
    QVERIFY(atFirst.contains(QStringLiteral("000.jpg")));
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("60 items")).isValid());
    desktop.keepScreenshot(QStringLiteral("browse-first"));

    // Scroll to the end, and back.
    const QPoint grid = atFirst.at(QStringLiteral("000.jpg")).center();
    desktop.click(grid);
    desktop.key(QStringLiteral("End"));
    QTRY_VERIFY(cells(bus).contains(QStringLiteral("059.jpg")));
    QVERIFY(waitForThumbnails(desktop, bus));
    desktop.key(QStringLiteral("Home"));
    QTRY_VERIFY(cells(bus).contains(QStringLiteral("000.jpg")));

    // Zoom at the pointer: the cells grow, and so do their pictures.
    desktop.wheel(grid, -3, {QStringLiteral("ctrl")});
    QTRY_VERIFY(cells(bus).contains(QStringLiteral("000.jpg")) &&
                cells(bus).at(QStringLiteral("000.jpg")).width() >
                    atFirst.at(QStringLiteral("000.jpg")).width());
    QVERIFY(waitForThumbnails(desktop, bus));

    // Select all; a click narrows it to one.
    desktop.key(QStringLiteral("ctrl+a"));
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("60 of 60 selected")).isValid());
    desktop.keepScreenshot(QStringLiteral("browse-selected"));
    desktop.click(cells(bus).at(QStringLiteral("000.jpg")).center());
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("1 of 60 selected")).isValid());

    // Resize: the cells flow anew, none beyond the window.
    const QString window =
        desktop.run(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow")}).trimmed();
    desktop.run(QStringLiteral("xdotool"), {QStringLiteral("windowsize"), QStringLiteral("--sync"), window,
                                            QStringLiteral("700"), QStringLiteral("500")});
    QTRY_VERIFY(bus.find(QStringLiteral("list"), QStringLiteral("Pictures")).extents.width() < 600);
    QVERIFY(waitForThumbnails(desktop, bus));
    desktop.keepScreenshot(QStringLiteral("browse-small"));

    // A file comes while another window is in front: coming back shows it.
    desktop.run(QStringLiteral("xdotool"),
                {QStringLiteral("windowminimize"), QStringLiteral("--sync"), window});
    makePicture(folder + QStringLiteral("/000 new.jpg"), colourOf(0));
    // The toolkit takes a tenth of a second to believe that the focus is gone, and nothing tells when it
    // does.
    QTest::qWait(500);
    desktop.run(QStringLiteral("xdotool"),
                {QStringLiteral("windowactivate"), QStringLiteral("--sync"), window});
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("1 of 61 selected")).isValid());
    desktop.key(QStringLiteral("Home"));
    QTRY_VERIFY(cells(bus).contains(QStringLiteral("000 new.jpg")));

    desktop.key(QStringLiteral("ctrl+q"));
    QCOMPARE(program.waitForEnd(), 0);
    QCOMPARE(program.debugLog().filter(QStringLiteral("-[PreferencesDictionary save] (129)")).size(), 1);
    QVERIFY(QFile::exists(settingsFile(desktop)));
}

void BrowseJourney::settingsOfTheFileAreSeen() {
    const Desktop desktop;
    SKIP_WITHOUT(desktop);
    const QString folder = makeFolder(desktop, QStringLiteral("dated"), 3);
    QDir(folder).mkdir(QStringLiteral("below"));
    makePicture(folder + QStringLiteral("/below/003.jpg"), colourOf(3));
    // Newest first: 001, 003, 000, 002.
    const std::map<QString, int> age{{QStringLiteral("000.jpg"), 300},
                                     {QStringLiteral("001.jpg"), 100},
                                     {QStringLiteral("002.jpg"), 400},
                                     {QStringLiteral("below/003.jpg"), 200}};
    for (const auto& [name, seconds] : age) {
        QFile file(folder + u'/' + name);
        QVERIFY(file.open(QFile::ReadWrite));
        QVERIFY(
            file.setFileTime(QDateTime::currentDateTime().addSecs(-seconds), QFile::FileModificationTime));
    }
    writeSettings(desktop,
                  {{QStringLiteral("PreferencesImageBrowserRecursiveSettingKey"), QStringLiteral("true")},
                   {QStringLiteral("PreferencesImagesBrowserSortSettingKey"), QStringLiteral("1")}});
    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);
    QTRY_COMPARE_WITH_TIMEOUT(titles(bus),
                              (QStringList{QStringLiteral("001.jpg"), QStringLiteral("003.jpg"),
                                           QStringLiteral("000.jpg"), QStringLiteral("002.jpg")}),
                              20000);
    QVERIFY(waitForThumbnails(desktop, bus));
    QCOMPARE(program.terminate(), 0);
    // With the log off it has said nothing.
    QVERIFY2(program.debugLog().isEmpty(), qPrintable(program.debugLog().join(u'\n')));
}

void BrowseJourney::logTellsOfASelectionInOrder() {
    const Desktop desktop;
    SKIP_WITHOUT(desktop);
    const QString folder = makeFolder(desktop, QStringLiteral("logged"), 2);
    QFile(folder + QStringLiteral("/.hidden.jpg")).open(QFile::WriteOnly);
    writeSettings(desktop, {{QStringLiteral("PreferencesDebugLoggingSettingKey"), QStringLiteral("true")}});
    RunningProgram program(desktop, {folder});
    QVERIFY(program.waitForLog(QStringLiteral("-[ImageBrowserDataSource addImagesWithPaths:] (163): End")));
    QCOMPARE(program.terminate(), 0);

    const QStringList log = program.debugLog();
    const auto inOrder = [&](const QStringList& expected) {
        qsizetype at = 0;
        for (const QString& line : expected) {
            at = log.indexOf(line, at);
            if (at++ < 0)
                return line;
        }
        return QString();
    };
    const QString outline = QStringLiteral("-[FileBrowserDataSource outlineViewSelectionDidChange:] ");
    const QString images = QStringLiteral("-[ImageBrowserDataSource ");
    // The main thread's lines.
    QCOMPARE(inOrder({outline +
                          QStringLiteral("(219): Since the user changed selection in the folders outline, we "
                                         "should reload the Image Browser..."),
                      outline + QStringLiteral("(231): [fileSystemItem fullPath]: ") + folder,
                      images + QStringLiteral("reloadWithPath:] (95): Reloading for path: ") + folder,
                      images + QStringLiteral("reloadWithPath:] (107): Detaching new thread..."),
                      images + QStringLiteral("reloadWithPath:] (109): Detaching new thread...DONE")}),
             QString());
    // The loading thread's.
    const QString adding = images + QStringLiteral("addImagesWithPath:recursive:] ");
    const QString one = images + QStringLiteral("addAnImageWithPath:] ");
    QCOMPARE(inOrder({images + QStringLiteral("addImagesWithPaths:] (132): Start"),
                      images + QStringLiteral("addImagesWithPaths:] (141): setAnimates to: 1"),
                      images + QStringLiteral("addImagesWithPaths:] (146): Got 1 urls."),
                      images + QStringLiteral("addImagesWithPaths:] (154): recursively: 0"),
                      adding + QStringLiteral("(171): Starting to add from ") + folder,
                      adding + QStringLiteral("(203): End"),
                      images + QStringLiteral("addImagesWithPaths:] (163): End")}),
             QString());
    for (const char* name : {"/000.jpg", "/001.jpg"}) {
        const QString path = folder + QString::fromLatin1(name);
        QCOMPARE(inOrder({adding + QStringLiteral("(193): Adding NOT recursively this: ") + path,
                          one + QStringLiteral("(208): Start, path: ") + path,
                          one + QStringLiteral("(228): End.")}),
                 QString());
    }
    QCOMPARE(
        inOrder({one + QStringLiteral("(217): Skipping file: ") + folder + QStringLiteral("/.hidden.jpg")}),
        QString());
}

void BrowseJourney::killedDecoderCostsNothing() {
    const Desktop desktop;
    SKIP_WITHOUT(desktop);
    const QString folder = makeFolder(desktop, QStringLiteral("many"), 24);
    for (int i = 0; i < 24; ++i)
        makePicture(QStringLiteral("%1/%2.jpg").arg(folder).arg(i, 3, 10, QLatin1Char('0')), colourOf(i),
                    QSize(3000, 2000));
    RunningProgram program(desktop, {folder});
    // One, and once: the next attempt at the same picture must find a decoder that lives.
    const auto killDecoder = [&] {
        const QString decoders = desktop.run(
            QStringLiteral("pgrep"),
            {QStringLiteral("-P"), QString::number(program.processId()), QStringLiteral("tavlin-decoder")});
        const int id = decoders.section(u'\n', 0, 0).toInt();
        return id > 0 && ::kill(id, SIGKILL) == 0;
    };
    QVERIFY(QTest::qWaitFor(killDecoder, 20000));
    const AccessibilityBus bus(desktop);
    QVERIFY(waitForThumbnails(desktop, bus, 40000));
    QVERIFY(program.isRunning());
    QCOMPARE(program.terminate(), 0);
}

void BrowseJourney::lastFolderAskedForWins() {
    const Desktop desktop;
    SKIP_WITHOUT(desktop);
    // A slow, recursive place, and a small one.
    const QString slow = desktop.folder(QStringLiteral("home/slow"));
    for (int i = 0; i < 200; ++i) {
        const QString folder = QStringLiteral("%1/%2").arg(slow).arg(i);
        QDir().mkpath(folder);
        for (int j = 0; j < 100; ++j)
            QFile(QStringLiteral("%1/%2.txt").arg(folder).arg(j)).open(QFile::WriteOnly);
    }
    makeFolder(desktop, QStringLiteral("small"), 5);
    writeSettings(desktop,
                  {{QStringLiteral("PreferencesImageBrowserRecursiveSettingKey"), QStringLiteral("true")}});
    RunningProgram program(desktop, {desktop.folder(QStringLiteral("home/small"))});
    const AccessibilityBus bus(desktop);
    QTRY_COMPARE_WITH_TIMEOUT(cells(bus).size(), std::size_t{5}, 20000);
    const auto row = [&](const char* name) {
        return bus.find(QStringLiteral("tree item"), QString::fromLatin1(name)).extents.center();
    };
    const QPoint slowRow = row("slow");
    const QPoint smallRow = row("small");
    for (int i = 0; i < 5; ++i) {
        desktop.click(slowRow);
        desktop.click(smallRow);
    }
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("5 items")).isValid());
    QVERIFY(waitForThumbnails(desktop, bus));
    QCOMPARE(titles(bus).size(), 5);
    desktop.click(slowRow);
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("20,000 items"), 30000).isValid());
    QCOMPARE(program.terminate(), 0);
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    BrowseJourney journey;
    return QTest::qExec(&journey, argc, argv);
}

#include "tst_browse_journey.moc"
