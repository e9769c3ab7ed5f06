// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <csignal>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>

using namespace Qt::StringLiterals;

/// The main road, as a person goes it, with the built program on a real X server.
class BrowseJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void browsesAFolder() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"pictures of a journey"_s, 60);
        writeSettings(desktop, {{u"PreferencesDebugLoggingSettingKey"_s, u"true"_s}});
        RunningProgram program(desktop, {folder});
        const AccessibilityBus bus(desktop);

        QVERIFY(waitForThumbnails(desktop, bus));
        const auto atFirst = cells(bus);
        QVERIFY(atFirst.contains(u"000.jpg"_s));
        QVERIFY(bus.find(u"label"_s, u"60 items"_s).isValid());
        desktop.keepScreenshot(u"browse-first"_s);

        // Scroll to the end, and back.
        const QPoint grid = atFirst.at(u"000.jpg"_s).center();
        desktop.click(grid);
        desktop.key(u"End"_s);
        QTRY_VERIFY(cells(bus).contains(u"059.jpg"_s));
        QVERIFY(waitForThumbnails(desktop, bus));
        desktop.key(u"Home"_s);
        QTRY_VERIFY(cells(bus).contains(u"000.jpg"_s));

        // Zoom at the pointer: the cells grow, and so do their pictures.
        desktop.wheel(grid, -3, {u"ctrl"_s});
        QTRY_VERIFY(cells(bus).contains(u"000.jpg"_s) &&
                    cells(bus).at(u"000.jpg"_s).width() > atFirst.at(u"000.jpg"_s).width());
        QVERIFY(waitForThumbnails(desktop, bus));

        // Select all; a click narrows it to one.
        desktop.key(u"ctrl+a"_s);
        QVERIFY(bus.find(u"label"_s, u"60 of 60 selected"_s).isValid());
        desktop.keepScreenshot(u"browse-selected"_s);
        desktop.click(cells(bus).at(u"000.jpg"_s).center());
        QVERIFY(bus.find(u"label"_s, u"1 of 60 selected"_s).isValid());

        // Resize: the cells flow anew, none beyond the window.
        const QString window = desktop.run(u"xdotool"_s, {u"getactivewindow"_s}).trimmed();
        desktop.run(u"xdotool"_s, {u"windowsize"_s, u"--sync"_s, window, u"700"_s, u"500"_s});
        QTRY_VERIFY(bus.find(u"list"_s, u"Pictures"_s).extents.width() < 600);
        QVERIFY(waitForThumbnails(desktop, bus));
        desktop.keepScreenshot(u"browse-small"_s);

        // A file comes while another window is in front: coming back shows it.
        desktop.run(u"xdotool"_s, {u"windowminimize"_s, u"--sync"_s, window});
        makePicture(folder + u"/000 new.jpg"_s, colourOf(0));
        // The toolkit takes a tenth of a second to believe that the focus is gone, and nothing tells when it
        // does.
        QTest::qWait(500);
        desktop.run(u"xdotool"_s, {u"windowactivate"_s, u"--sync"_s, window});
        QVERIFY(bus.find(u"label"_s, u"1 of 61 selected"_s).isValid());
        desktop.key(u"Home"_s);
        QTRY_VERIFY(cells(bus).contains(u"000 new.jpg"_s));

        desktop.key(u"ctrl+q"_s);
        QCOMPARE(program.waitForEnd(), 0);
        QCOMPARE(program.debugLog().filter(u"-[PreferencesDictionary save] (129)"_s).size(), 1);
        QVERIFY(QFile::exists(settingsFile(desktop)));
    }
    void settingsOfTheFileAreSeen() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"dated"_s, 3);
        QDir(folder).mkdir(u"below"_s);
        makePicture(folder + u"/below/003.jpg"_s, colourOf(3));
        // Newest first: 001, 003, 000, 002.
        const std::map<QString, int> age{
            {u"000.jpg"_s, 300}, {u"001.jpg"_s, 100}, {u"002.jpg"_s, 400}, {u"below/003.jpg"_s, 200}};
        for (const auto& [name, seconds] : age) {
            QFile file(folder + u'/' + name);
            QVERIFY(file.open(QFile::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-seconds),
                                     QFile::FileModificationTime));
        }
        writeSettings(desktop, {{u"PreferencesImageBrowserRecursiveSettingKey"_s, u"true"_s},
                                {u"PreferencesImagesBrowserSortSettingKey"_s, u"1"_s}});
        RunningProgram program(desktop, {folder});
        const AccessibilityBus bus(desktop);
        QTRY_COMPARE_WITH_TIMEOUT(
            titles(bus), (QStringList{u"001.jpg"_s, u"003.jpg"_s, u"000.jpg"_s, u"002.jpg"_s}), 20000);
        QVERIFY(waitForThumbnails(desktop, bus));
        QCOMPARE(program.terminate(), 0);
        // With the log off it has said nothing.
        QVERIFY2(program.debugLog().isEmpty(), qPrintable(program.debugLog().join(u'\n')));
    }
    void logTellsOfASelectionInOrder() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"logged"_s, 2);
        QFile(folder + u"/.hidden.jpg"_s).open(QFile::WriteOnly);
        writeSettings(desktop, {{u"PreferencesDebugLoggingSettingKey"_s, u"true"_s}});
        RunningProgram program(desktop, {folder});
        QVERIFY(program.waitForLog(u"-[ImageBrowserDataSource addImagesWithPaths:] (163): End"_s));
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
        const QString outline = u"-[FileBrowserDataSource outlineViewSelectionDidChange:] "_s;
        const QString images = u"-[ImageBrowserDataSource "_s;
        // The main thread's lines.
        QCOMPARE(inOrder({outline + QStringLiteral(
                                        "(219): Since the user changed selection in the folders outline, we "
                                        "should reload the Image Browser..."),
                          outline + u"(231): [fileSystemItem fullPath]: "_s + folder,
                          images + u"reloadWithPath:] (95): Reloading for path: "_s + folder,
                          images + u"reloadWithPath:] (107): Detaching new thread..."_s,
                          images + u"reloadWithPath:] (109): Detaching new thread...DONE"_s}),
                 QString());
        // The loading thread's.
        const QString adding = images + u"addImagesWithPath:recursive:] "_s;
        const QString one = images + u"addAnImageWithPath:] "_s;
        QCOMPARE(inOrder({images + u"addImagesWithPaths:] (132): Start"_s,
                          images + u"addImagesWithPaths:] (141): setAnimates to: 1"_s,
                          images + u"addImagesWithPaths:] (146): Got 1 urls."_s,
                          images + u"addImagesWithPaths:] (154): recursively: 0"_s,
                          adding + u"(171): Starting to add from "_s + folder, adding + u"(203): End"_s,
                          images + u"addImagesWithPaths:] (163): End"_s}),
                 QString());
        for (const char* name : {"/000.jpg", "/001.jpg"}) {
            const QString path = folder + QString::fromLatin1(name);
            QCOMPARE(inOrder({adding + u"(193): Adding NOT recursively this: "_s + path,
                              one + u"(208): Start, path: "_s + path, one + u"(228): End."_s}),
                     QString());
        }
        QCOMPARE(inOrder({one + u"(217): Skipping file: "_s + folder + u"/.hidden.jpg"_s}), QString());
    }
    void killedDecoderCostsNothing() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"many"_s, 24);
        for (int i = 0; i < 24; ++i)
            makePicture(u"%1/%2.jpg"_s.arg(folder).arg(i, 3, 10, QLatin1Char('0')), colourOf(i),
                        QSize(3000, 2000));
        RunningProgram program(desktop, {folder});
        // One, and once: the next attempt at the same picture must find a decoder that lives.
        const auto killDecoder = [&] {
            const QString decoders =
                desktop.run(u"pgrep"_s, {u"-P"_s, QString::number(program.processId()), u"tavlin-decoder"_s});
            const int id = decoders.section(u'\n', 0, 0).toInt();
            return id > 0 && ::kill(id, SIGKILL) == 0;
        };
        QVERIFY(QTest::qWaitFor(killDecoder, 20000));
        const AccessibilityBus bus(desktop);
        QVERIFY(waitForThumbnails(desktop, bus, 40000));
        QVERIFY(program.isRunning());
        QCOMPARE(program.terminate(), 0);
    }
    void lastFolderAskedForWins() {
        TAVLIN_DESKTOP(desktop);
        // A slow, recursive place, and a small one.
        const QString slow = desktop.folder(u"home/slow"_s);
        for (int i = 0; i < 200; ++i) {
            const QString folder = u"%1/%2"_s.arg(slow).arg(i);
            QDir().mkpath(folder);
            for (int j = 0; j < 100; ++j)
                QFile(u"%1/%2.txt"_s.arg(folder).arg(j)).open(QFile::WriteOnly);
        }
        makeFolder(desktop, u"small"_s, 5);
        writeSettings(desktop, {{u"PreferencesImageBrowserRecursiveSettingKey"_s, u"true"_s}});
        RunningProgram program(desktop, {desktop.folder(u"home/small"_s)});
        const AccessibilityBus bus(desktop);
        QTRY_COMPARE_WITH_TIMEOUT(cells(bus).size(), std::size_t{5}, 20000);
        const auto row = [&](const char* name) {
            return bus.find(u"tree item"_s, QString::fromLatin1(name)).extents.center();
        };
        const QPoint slowRow = row("slow");
        const QPoint smallRow = row("small");
        for (int i = 0; i < 5; ++i) {
            desktop.click(slowRow);
            desktop.click(smallRow);
        }
        QVERIFY(bus.find(u"label"_s, u"5 items"_s).isValid());
        QVERIFY(waitForThumbnails(desktop, bus));
        QCOMPARE(titles(bus).size(), 5);
        desktop.click(slowRow);
        QVERIFY(bus.find(u"label"_s, u"20,000 items"_s, 30000).isValid());
        QCOMPARE(program.terminate(), 0);
    }
};

TAVLIN_JOURNEY_MAIN(BrowseJourney)
#include "tst_browse_journey.moc"
