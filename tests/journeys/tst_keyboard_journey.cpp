// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"
#include "testing/PdfFile.h"

#include <QDateTime>
#include <QSettings>

using namespace Qt::StringLiterals;

/// The main road without a mouse and without eyes: by the keyboard and the accessibility bus alone.
class KeyboardJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void goesTheMainRoad() {
        qputenv("CUPS_SERVER", "/nonexistent/socket");
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"chosen"_s, 2);
        QDir(folder).mkdir(u"below"_s);
        makePicture(folder + u"/below/002.jpg"_s, colourOf(2));
        makeFolder(desktop, u"other"_s, 0);
        setAge(folder + u"/000.jpg"_s, 300);
        setAge(folder + u"/001.jpg"_s, 200);
        setAge(folder + u"/below/002.jpg"_s, 100);
        const QString scripts = desktop.folder(u"data/Tavlin/Scripts"_s);
        QDir().mkpath(scripts);
        writeFile(scripts + u"/0 keep.sh"_s,
                  "# Keeps what it is given.\ntr -d '\\0' < \"$1\" > unfinished && mv unfinished kept\n");

        const AccessibilityBus bus(desktop);
        RunningProgram program(desktop, {desktop.folder(u"home"_s)});
        for (const auto& part : {choosePictures, readAPicture, runAScript, changeEverySetting}) {
            part(desktop, bus);
            if (QTest::currentTestFailed())
                return;
        }

        // Each is read anew by the next that asks.
        desktop.key(u"F5"_s);
        const QStringList newestFirst{u"002.jpg"_s, u"001.jpg"_s, u"000.jpg"_s};
        QTRY_COMPARE(titles(bus).filter(u".jpg"_s), newestFirst);
        QVERIFY(program.waitForLog(u"addImagesWithPaths:] (141): setAnimates to: 0"_s));
        QVERIFY(program.waitForLog(u"addImagesWithPaths:] (154): recursively: 1"_s));
        keys(desktop, {u"Tab"_s, u"End"_s, u"Return"_s});
        QVERIFY(bus.find(u"text"_s, u"Metadata"_s).isValid());
        desktop.key(u"ctrl+p"_s);
        QVERIFY(bus.find(u"push button"_s, u"Print"_s).isValid());
        desktop.key(u"Return"_s);
        const PdfFile pdf(desktop.folder(u"home/000.pdf"_s));
        QTRY_COMPARE_WITH_TIMEOUT(pdf.numberOfPages(), 1, 20000);
        QVERIFY(pdf.text().contains(u"General metadata:"_s) && pdf.text().contains(u"EXIF meta data:"_s));
        QVERIFY(!pdf.text().contains(u"IPTC"_s));
        QCOMPARE(program.terminate(), 0);

        // The next run keeps all but what is printed beside the picture for one run.
        RunningProgram next(desktop, {folder});
        QTRY_COMPARE_WITH_TIMEOUT(titles(bus).filter(u".jpg"_s), newestFirst, 20000);
        desktop.key(u"ctrl+comma"_s);
        const auto isChecked = [&](const char* role, const char* name) {
            return bus.is(bus.find(QString::fromLatin1(role), QString::fromUtf8(name)),
                          AccessibleState::checked);
        };
        QTRY_VERIFY(isChecked("check box", "Write a debug log"));
        QVERIFY(isChecked("check box", "Include pictures in subfolders"));
        QVERIFY(isChecked("radio button", "Sort by modification date"));
        QVERIFY(!isChecked("check box", "Animate changes"));
        QVERIFY(!isChecked("check box", "IPTC metadata"));
        QVERIFY(!isChecked("check box", "General properties (until Tavlin quits)"));
        QVERIFY(!isChecked("check box", "EXIF metadata (until Tavlin quits)"));
        QCOMPARE(next.terminate(), 0);
    }

    /// The settings, changed while the program runs.
    void changesHoldAtOnceAndByTheirRules() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"nested"_s, 2);
        QDir(folder).mkdir(u"below"_s);
        makePicture(folder + u"/below/002.jpg"_s, colourOf(2));
        const AccessibilityBus bus(desktop);
        const QString preferences = u"^Preferences"_s;
        const auto setting = [&desktop](const char* key) {
            return QSettings(settingsFile(desktop), QSettings::IniFormat)
                .value(u"PreferencesGlobals/"_s + QString::fromLatin1(key))
                .toString();
        };

        RunningProgram program(desktop, {folder});
        QTRY_VERIFY_WITH_TIMEOUT(titles(bus).contains(u"001.jpg"_s), 20000);
        desktop.key(u"ctrl+comma"_s);
        QVERIFY(bus.find(u"check box"_s, u"Write a debug log"_s).isValid());
        desktop.bringToFront(preferences);
        const QStringList windows = desktop.windows(preferences);
        QVERIFY2(program.debugLog().isEmpty(), "the log is off");

        // The log begins within the change, and the open window is not opened twice.
        desktop.key(u"alt+l"_s);
        QVERIFY(program.waitForLog(u"-[PreferencesDictionary save] (147)"_s));
        const QStringList log = program.debugLog();
        QVERIFY(
            log.value(0).startsWith(u"-[TavlinPreferencesWindowController saveSettings] (159): appGlobals "));
        QVERIFY(log.value(1).startsWith(u"-[PreferencesDictionary save] (129)"));
        QVERIFY(log.value(2).startsWith(u"-[PreferencesDictionary save] (147)"));
        desktop.key(u"ctrl+comma"_s);
        desktop.key(u"alt+s"_s);
        QTRY_COMPARE(program.debugLog().filter(u"save] (147)"_s).size(), 2);
        QVERIFY(program.debugLog().filter(u"initWithWindowNibName:"_s).isEmpty());
        QCOMPARE(desktop.windows(preferences), windows);

        // The next reload is logged, and descends.
        desktop.bringToFront(u"^nested"_s);
        const qsizetype before = program.debugLog().size();
        desktop.key(u"F5"_s);
        QTRY_VERIFY(titles(bus).contains(u"002.jpg"_s));
        const QString loading = u"-[ImageBrowserDataSource "_s;
        QTRY_VERIFY(
            program.debugLog().mid(before).filter(loading + u"addImagesWithPaths:] (163): End"_s).size() > 0);
        QVERIFY(program.debugLog().mid(before).contains(loading +
                                                        u"addImagesWithPaths:] (154): recursively: 1"_s));

        // Switched off, it ends within the change.
        desktop.bringToFront(preferences);
        for (const char* key : {"alt+g", "alt+x", "alt+t", "alt+l"})
            desktop.key(QString::fromLatin1(key));
        QTRY_COMPARE(setting("PreferencesDebugLoggingSettingKey"), u"false"_s);
        QCOMPARE(setting("ImageWindowPrintEXIFMetadataSettingKey"), u"true"_s);
        makePicture(folder + u"/003.jpg"_s, colourOf(3));
        desktop.key(u"Escape"_s);
        QTRY_VERIFY(desktop.windows(preferences).isEmpty());
        desktop.key(u"F5"_s);
        QTRY_VERIFY(titles(bus).contains(u"003.jpg"_s));
        QVERIFY2(program.debugLog().constLast().startsWith(
                     u"-[TavlinPreferencesWindowController saveSettings] (140): appGlobals (vorher): "),
                 qPrintable(program.debugLog().constLast()));
        QCOMPARE(program.terminate(), 0);
    }

 private:
    static void keys(const Desktop& desktop, const QStringList& names) {
        for (const QString& name : names)
            desktop.key(name);
    }
    static void setAge(const QString& path, int seconds) {
        QFile file(path);
        QVERIFY(file.open(QFile::ReadWrite));
        QVERIFY(
            file.setFileTime(QDateTime::currentDateTime().addSecs(-seconds), QFile::FileModificationTime));
    }
    /// By the outline, then with the arrow keys.
    static void choosePictures(const Desktop& desktop, const AccessibilityBus& bus) {
        const auto focused = [&](const char* role, const char* name) {
            const auto object = bus.find(QString::fromLatin1(role), QString::fromLatin1(name));
            return bus.is(object, AccessibleState::focused);
        };
        QTRY_VERIFY_WITH_TIMEOUT(focused("list", "Pictures"), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(titles(bus), (QStringList{u"chosen"_s, u"other"_s}), 20000);
        keys(desktop, {u"Tab"_s, u"Tab"_s});
        QTRY_VERIFY(focused("tree", "Folders"));
        keys(desktop, {u"Right"_s, u"Down"_s, u"Down"_s});
        QTRY_COMPARE(bus.description(bus.find(u"list"_s, u"Pictures"_s)), u"This folder is empty"_s);
        desktop.key(u"Up"_s);
        QTRY_COMPARE(titles(bus), (QStringList{u"000.jpg"_s, u"001.jpg"_s, u"below"_s}));
        keys(desktop, {u"shift+Tab"_s, u"shift+Tab"_s, u"Home"_s, u"shift+Right"_s});
        QVERIFY(bus.find(u"label"_s, u"2 of 3 selected"_s).isValid());
        const auto second = bus.find(u"list item"_s, u"001.jpg"_s);
        QVERIFY(bus.is(second, AccessibleState::focused) && bus.is(second, AccessibleState::selected));
        QCOMPARE(bus.description(second), u"2 of 3"_s);
    }
    static void readAPicture(const Desktop& desktop, const AccessibilityBus& bus) {
        keys(desktop, {u"Home"_s, u"Return"_s});
        const auto metadata = bus.find(u"text"_s, u"Metadata"_s);
        QTRY_VERIFY(bus.text(metadata).contains(u"PixelWidth:"_s));
        QVERIFY(bus.text(metadata).contains(u"640"_s));
        QTRY_VERIFY(bus.is(bus.find(u"graphic"_s, u"Picture"_s), AccessibleState::focused));
        desktop.key(u"Tab"_s);
        QTRY_VERIFY(bus.is(metadata, AccessibleState::focused));
        desktop.key(u"Escape"_s);
        QTRY_VERIFY(!bus.find(u"text"_s, u"Metadata"_s, 1).isValid());
    }
    static void runAScript(const Desktop& desktop, const AccessibilityBus& bus) {
        const auto script = bus.find(u"cell"_s, u"0 keep.sh"_s);
        keys(desktop, {u"shift+Tab"_s, u"Home"_s, u"Return"_s});
        QFile kept(desktop.folder(u"data/Tavlin/Scripts/kept"_s));
        QTRY_VERIFY_WITH_TIMEOUT(kept.exists(), 20000);
        QVERIFY(kept.open(QFile::ReadOnly));
        QVERIFY(kept.readAll().contains("000.jpg"));
        QVERIFY(bus.is(script, AccessibleState::focused));
    }
    static void changeEverySetting(const Desktop& desktop, const AccessibilityBus& bus) {
        const auto preferences = bus.find(u"menu item"_s, u"Preferences…"_s);
        QVERIFY(bus.is(preferences, AccessibleState::enabled));
        desktop.key(u"ctrl+comma"_s);
        const auto log = bus.find(u"check box"_s, u"Write a debug log"_s);
        QVERIFY(bus.find(u"dialog"_s, u"Preferences"_s).isValid());
        QTRY_VERIFY(!bus.is(preferences, AccessibleState::enabled));
        // From the first control on, in their order.
        QTRY_VERIFY(bus.is(bus.find(u"radio button"_s, u"Sort by name"_s), AccessibleState::focused));
        keys(desktop, {u"Down"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"Down"_s, u"Tab"_s,
                       u"space"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s});
        QTRY_VERIFY(bus.is(log, AccessibleState::checked));
        desktop.key(u"Escape"_s);
        QTRY_VERIFY(bus.is(preferences, AccessibleState::enabled));
    }
};

TAVLIN_JOURNEY_MAIN(KeyboardJourney)
#include "tst_keyboard_journey.moc"
