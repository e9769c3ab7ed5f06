// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"
#include "testing/MountSandbox.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

/// Volumes that come and go while the program runs.
class VolumeJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QVERIFY(MountSandbox::mountTmpfs(u"/media"_s, "mode=755"));
    }
    void comesAndGoes();
    void tornOffDuringALoad();

 private:
    static bool mountSmall(const QByteArray& folder) {
        return ::mkdir(folder.constData(), 0755) == 0 &&
               ::mount("ramfs", folder.constData(), "ramfs", 0, nullptr) == 0;
    }
    static bool hasRow(const AccessibilityBus& bus, const QString& name) {
        return bus.find(u"tree item"_s, name, 1).isValid();
    }
    /// What stands behind `start` in the last line of the debug log that has it.
    static QString lastLogged(RunningProgram& program, const QString& start) {
        const QStringList lines = program.debugLog().filter(start);
        return lines.isEmpty() ? QString() : lines.constLast().mid(start.size());
    }
};

void VolumeJourney::comesAndGoes() {
    TAVLIN_DESKTOP(desktop);
    const QString prepared = desktop.folder(u"camera"_s);
    QVERIFY(MountSandbox::mountExt4(prepared, 8));
    for (int i = 0; i < 6; ++i)
        makePicture(u"%1/%2.jpg"_s.arg(prepared).arg(i, 3, 10, QChar(u'0')), colourOf(i));
    QCOMPARE(::umount2(QFile::encodeName(prepared).constData(), 0), 0);
    const QString folder = makeFolder(desktop, u"at home"_s, 2);
    writeSettings(desktop, {{u"PreferencesDebugLoggingSettingKey"_s, u"true"_s}});
    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);
    QVERIFY(waitForThumbnails(desktop, bus));
    QCOMPARE(titles(bus).size(), 2);
    QProcess notifications;
    notifications.setProcessEnvironment(desktop.environment());
    notifications.start(u"dunst"_s, {u"-print"_s});
    const bool hasNotifications = notifications.waitForStarted();
    QByteArray told;
    QVERIFY(!hasNotifications || program.waitForLog(u"REEEEEEEEEEEEADY!"_s));

    QDir().mkpath(u"/media/Camera"_s);
    const QStringList mounting{u"-o"_s, u"loop"_s, prepared + u".image"_s, u"/media/Camera"_s};
    QCOMPARE(QProcess::execute(u"mount"_s, mounting), 0);
    QVERIFY(bus.find(u"tree item"_s, u"Camera"_s, 20000).isValid());
    QTRY_COMPARE_WITH_TIMEOUT(titles(bus).filter(u".jpg"_s).size(), 6, 20000);
    // The notification hides some of the grid.
    QTRY_VERIFY_WITH_TIMEOUT(shows(desktop.screenshot(), cells(bus).at(u"000.jpg"_s), colourOf(0)), 20000);
    QVERIFY(hasRow(bus, u"lost+found"_s));
    desktop.keepScreenshot(u"volume-mounted"_s);
    if (hasNotifications)
        QTRY_COMPARE((told += notifications.readAll()).count("body: 'The volume “Camera” is there now.'"), 1);

    // Shown and loaded, one of its pictures in a window of its own, it can be unmounted at once.
    desktop.click(cells(bus).at(u"003.jpg"_s).center(), 2);
    const auto isPictureSeen = [&] {
        const QImage screen = desktop.screenshot();
        return desktop.activeTitle().startsWith(u"003.jpg") && shows(screen, screen.rect(), colourOf(3));
    };
    QTRY_VERIFY_WITH_TIMEOUT(isPictureSeen(), 20000);
    // Its metadata may still be read.
    QVERIFY(QTest::qWaitFor([] { return ::umount2("/media/Camera", 0) == 0; }, 2000));
    QTRY_VERIFY_WITH_TIMEOUT(!hasRow(bus, u"Camera"_s), 20000);
    QVERIFY(isPictureSeen());
    desktop.keepScreenshot(u"volume-unmounted"_s);
    if (hasNotifications)
        QTRY_COMPARE((told += notifications.readAll()).count("body: 'The volume “Camera” was removed.'"), 1);
    QCOMPARE(told.count("summary:"), hasNotifications ? 2 : 0);
    const QStringList log = program.debugLog();
    for (const QString& line : {u"didMount:] (326): Heyho someone mounted something at /media/Camera"_s,
                                u"didMount:] (328): Localized volume name: Camera"_s,
                                u"didUnmount:] (365): Heyho someone unmounted something at /media/Camera"_s,
                                u"didUnmount:] (367): Localized volume name: Camera"_s})
        QCOMPARE(log.filter(line).size(), 1);
    QCOMPARE(
        lastLogged(program, u"-[FileBrowserDataSource outlineViewSelectionDidChange:] (228): selRow: "_s),
        u"-1"_s);
    QCOMPARE(program.terminate(), 0);
    notifications.terminate();
    notifications.waitForFinished();
}

/// Its folders go from under the walk; nothing is waited for, and the program stays.
void VolumeJourney::tornOffDuringALoad() {
    TAVLIN_DESKTOP(desktop);
    const QString folder = makeFolder(desktop, u"at home"_s, 2);
    writeSettings(desktop, {{u"PreferencesDebugLoggingSettingKey"_s, u"true"_s},
                            {u"PreferencesImageBrowserRecursiveSettingKey"_s, u"true"_s}});
    const QString staging = desktop.folder(u"deep"_s);
    QVERIFY(mountSmall(QFile::encodeName(staging)));
    for (int i = 0; i < 100; ++i) {
        QDir().mkpath(u"%1/%2"_s.arg(staging).arg(i));
        for (int j = 0; j < 100; ++j)
            QVERIFY(QFile(u"%1/%2/%3"_s.arg(staging).arg(i).arg(j)).open(QFile::WriteOnly));
    }
    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);
    QVERIFY(waitForThumbnails(desktop, bus));
    QDir().mkpath(u"/media/Torn"_s);
    QCOMPARE(::mount(QFile::encodeName(staging).constData(), "/media/Torn", nullptr, MS_MOVE, nullptr), 0);
    QVERIFY(program.waitForLog(u"Starting to add from /media/Torn/"_s, 20000));
    QVERIFY(MountSandbox::unmount(u"/media/Torn"_s));
    QVERIFY(program.waitForLog(u"someone unmounted something at /media/Torn"_s, 20000));
    QTRY_VERIFY_WITH_TIMEOUT(!hasRow(bus, u"Torn"_s), 20000);
    QCOMPARE(program.terminate(), 0);
}

TAVLIN_JOURNEY_MAIN(VolumeJourney, MountSandbox::enter())
#include "tst_volume_journey.moc"
