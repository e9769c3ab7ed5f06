// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <QSettings>

using namespace Qt::StringLiterals;

/// The settings, changed by keyboard while the program runs.
class PreferencesJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void changesHoldAtOnceAndByTheirRules();
};

void PreferencesJourney::changesHoldAtOnceAndByTheirRules() {
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
    QStringList log = program.debugLog();
    QVERIFY(log.value(0).startsWith(u"-[TavlinPreferencesWindowController saveSettings] (159): appGlobals "));
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
    QTRY_VERIFY(program.debugLog().mid(before).filter(loading + u"addImagesWithPaths:] (163): End"_s).size() >
                0);
    log = program.debugLog().mid(before);
    qsizetype at = -1;
    for (const QString& line :
         {loading + u"reloadWithPath:] (95): Reloading for path: "_s + folder,
          loading + u"reloadWithPath:] (107): Detaching new thread..."_s,
          loading + u"addImagesWithPaths:] (154): recursively: 1"_s,
          loading + u"addImagesWithPath:recursive:] (171): Starting to add from "_s + folder,
          loading + u"addImagesWithPaths:] (163): End"_s}) {
        const qsizetype next = log.indexOf(line, at + 1);
        QVERIFY2(next > at, qPrintable(line + u'\n' + log.join(u'\n')));
        at = next;
    }

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

TAVLIN_JOURNEY_MAIN(PreferencesJourney)
#include "tst_preferences_journey.moc"
