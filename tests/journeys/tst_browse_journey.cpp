// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"
#include "testing/ProcessFigures.h"

#include <csignal>

using namespace Qt::StringLiterals;

/// The main road and back, as a person goes it, with the built program on a real X server.
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
        const QString window = desktop.xdotool({u"getactivewindow"_s});
        desktop.xdotool({u"windowsize"_s, u"--sync"_s, window, u"700"_s, u"500"_s});
        QTRY_VERIFY(bus.find(u"list"_s, u"Pictures"_s).extents.width() < 600);
        QVERIFY(waitForThumbnails(desktop, bus));
        desktop.keepScreenshot(u"browse-small"_s);

        // A file comes while another window is in front: coming back shows it.
        desktop.xdotool({u"windowminimize"_s, u"--sync"_s, window});
        makePicture(folder + u"/000 new.jpg"_s, colourOf(0));
        // The toolkit takes a tenth of a second to believe that the focus is gone, and nothing tells when it
        // does.
        QTest::qWait(500);
        desktop.xdotool({u"windowactivate"_s, u"--sync"_s, window});
        QVERIFY(bus.find(u"label"_s, u"1 of 61 selected"_s).isValid());
        desktop.key(u"Home"_s);
        QTRY_VERIFY(cells(bus).contains(u"000 new.jpg"_s));

        // Nothing has brought the toolkit's own decoders into the program.
        const QByteArray inMemory = ProcessFigures::contentsOf(u"/proc/%1/maps"_s.arg(program.processId()));
        QVERIFY(inMemory.contains("libQt6Gui") && !inMemory.contains("libqjpeg"));

        desktop.key(u"ctrl+q"_s);
        QCOMPARE(program.waitForEnd(), 0);
        QCOMPARE(program.debugLog().filter(u"-[PreferencesDictionary save] (129)"_s).size(), 1);
        QVERIFY(QFile::exists(settingsFile(desktop)));
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
            const QString decoders = desktop.run(u"pgrep"_s, {u"-P"_s, QString::number(program.processId()),
                                                              u"-f"_s, u"--"_s, u"--role common"_s});
            const int id = decoders.section(u'\n', 0, 0).toInt();
            return id > 0 && ::kill(id, SIGKILL) == 0;
        };
        QVERIFY(QTest::qWaitFor(killDecoder, 20000));
        const AccessibilityBus bus(desktop);
        QVERIFY(waitForThumbnails(desktop, bus, 40000));
        QVERIFY(program.isRunning());
        QCOMPARE(program.terminate(), 0);
    }
    /// Pictures go to the trash and come back, by the keys a person has for it.
    void removesAndUndoes() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"to remove 100%"_s, 8);
        const QStringList removed{u"002.jpg"_s, u"003.jpg"_s, u"004.jpg"_s};
        QMap<QString, QByteArray> before;
        for (const QString& name : removed)
            before[name] = readFile(folder + u'/' + name);
        RunningProgram program(desktop, {folder});
        const AccessibilityBus bus(desktop);
        QVERIFY(waitForThumbnails(desktop, bus));
        const auto atFirst = cells(bus);
        const QDir trash(desktop.folder(u"data/Trash/files"_s));

        // In another pane the same key removes nothing.
        const auto selectThree = [&] {
            desktop.click(atFirst.at(removed[0]).center());
            desktop.click(atFirst.at(removed[2]).center(), 1, {u"shift"_s});
        };
        selectThree();
        desktop.key(u"Tab"_s);
        desktop.key(u"Delete"_s);
        desktop.click(atFirst.at(u"007.jpg"_s).center(), 1, {u"ctrl"_s});
        QVERIFY(bus.find(u"label"_s, u"4 of 8 selected"_s).isValid());
        selectThree();
        QVERIFY(bus.find(u"label"_s, u"3 of 8 selected"_s).isValid());
        desktop.key(u"Delete"_s);
        QVERIFY(bus.find(u"label"_s, u"5 items"_s).isValid());
        QCOMPARE(titles(bus),
                 (QStringList{u"000.jpg"_s, u"001.jpg"_s, u"005.jpg"_s, u"006.jpg"_s, u"007.jpg"_s}));
        QVERIFY(waitForThumbnails(desktop, bus));
        desktop.keepScreenshot(u"remove-gone"_s);
        QCOMPARE(trash.entryList(QDir::Files, QDir::Name), removed);
        for (const QString& name : removed) {
            QVERIFY(!QFile::exists(folder + u'/' + name));
            QCOMPARE(readFile(trash.filePath(name)), before[name]);
        }

        // The next picture is the current one: a blank selects it.
        desktop.key(u"space"_s);
        QVERIFY(bus.find(u"label"_s, u"1 of 5 selected"_s).isValid());
        desktop.key(u"Delete"_s);
        QVERIFY(bus.find(u"label"_s, u"4 items"_s).isValid());
        QVERIFY(!QFile::exists(folder + u"/005.jpg"_s));

        desktop.key(u"ctrl+z"_s);
        QVERIFY(bus.find(u"label"_s, u"1 of 5 selected"_s).isValid());
        desktop.key(u"ctrl+z"_s);
        QVERIFY(bus.find(u"label"_s, u"3 of 8 selected"_s).isValid());
        for (const QString& name : removed)
            QCOMPARE(readFile(folder + u'/' + name), before[name]);
        QVERIFY(trash.isEmpty());
        QCOMPARE(titles(bus).size(), 8);
        QVERIFY(waitForThumbnails(desktop, bus));
        desktop.keepScreenshot(u"remove-back"_s);
        QCOMPARE(program.terminate(), 0);
    }
};

TAVLIN_JOURNEY_MAIN(BrowseJourney)
#include "tst_browse_journey.moc"
