// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

/// The program starts on a Wayland compositor. Without an input device that is all that can be asked.
class WaylandJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void startsAndShows();
};

void WaylandJourney::startsAndShows() {
    if (QStandardPaths::findExecutable(u"weston"_s).isEmpty())
        QSKIP("no Wayland compositor (weston)");
    TAVLIN_DESKTOP(desktop);
    const QString folder = makeFolder(desktop, u"pictures"_s, 3);
    const QString socket = desktop.folder(u"run/wayland-test"_s);
    QProcess compositor;
    compositor.setProcessEnvironment(desktop.environment());
    compositor.start(u"weston"_s,
                     {u"--backend=headless-backend.so"_s, u"--socket=wayland-test"_s, u"--idle-time=0"_s,
                      u"--no-config"_s, u"--log="_s + desktop.folder(u"weston.log"_s)});
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(socket), 20000);

    QProcessEnvironment environment = desktop.environment();
    environment.remove(u"DISPLAY"_s);
    environment.insert(u"WAYLAND_DISPLAY"_s, u"wayland-test"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"wayland"_s);
    environment.insert(u"XDG_SESSION_TYPE"_s, u"wayland"_s);
    environment.insert(u"WAYLAND_DEBUG"_s, u"1"_s);
    environment.insert(u"ASAN_OPTIONS"_s, u"detect_leaks=0"_s);  // the toolkit's plugin leaves some behind
    RunningProgram program(environment, {folder});
    if (!QTest::qWaitFor([&] { return program.log().join(u'\n').contains(u"xdg_toplevel"_s); }, 20000) &&
        program.log().join(u'\n').contains(u"Could not find the Qt platform plugin \"wayland\""_s))
        QSKIP("the toolkit has no Wayland (qt6-wayland)");
    // A buffer is what the compositor shows.
    QVERIFY(program.waitForLog(u"set_title(\"pictures"_s, 20000));
    QVERIFY(program.waitForLog(u".attach(wl_buffer@"_s, 20000));
    const AccessibilityBus bus(desktop);
    QTRY_COMPARE_WITH_TIMEOUT(titles(bus).size(), 3, 20000);
    QCOMPARE(program.terminate(), 0);
    compositor.terminate();
    QVERIFY(compositor.waitForFinished(20000));
}

TAVLIN_JOURNEY_MAIN(WaylandJourney)
#include "tst_wayland_journey.moc"
