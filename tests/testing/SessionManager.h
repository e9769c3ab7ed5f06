// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "testing/Desktop.h"

#include <sys/stat.h>

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QSysInfo>
#include <QTest>

#include <csignal>

/// The X session manager of a test's own (xsm), on the display and in the home of an environment. Programs
/// that are started with that environment afterwards belong to its session.
class SessionManager {
 public:
    explicit SessionManager(QProcessEnvironment& environment) {
        if (QStandardPaths::findExecutable(QStringLiteral("xsm")).isEmpty()) {
            _problem = QStringLiteral("no session manager (x11-session-utils)");
            return;
        }
        ::mkdir("/tmp/.ICE-unix", 01777);  // where the system has not
        ::chmod("/tmp/.ICE-unix", 01777);
        const QString home = environment.value(QStringLiteral("HOME"));
        const QString cookies = home + QStringLiteral("/.ICEauthority");
        environment.insert(QStringLiteral("ICEAUTHORITY"), cookies);
        // What it starts by itself, in place of a window manager and a terminal.
        QFile startup(home + QStringLiteral("/.xsmstartup"));
        if (startup.open(QFile::WriteOnly))
            startup.write("true\n");
        startup.close();
        _process.setProcessEnvironment(environment);
        _process.setStandardErrorFile(QProcess::nullDevice());
        _process.start(QStringLiteral("xsm"), {});
        if (!_process.waitForStarted() ||
            !QTest::qWaitFor([&] { return QFileInfo(cookies).size() > 0; }, 20000))
            _problem = QStringLiteral("no session manager (x11-session-utils, x11-xserver-utils)");
        environment.insert(QStringLiteral("SESSION_MANAGER"), QStringLiteral("unix/%1:/tmp/.ICE-unix/%2")
                                                                  .arg(QSysInfo::machineHostName())
                                                                  .arg(_process.processId()));
    }
    ~SessionManager() {
        _process.kill();
        _process.waitForFinished();
    }
    SessionManager(const SessionManager&) = delete;
    SessionManager& operator=(const SessionManager&) = delete;

    /// Empty when it came up.
    const QString& problem() const { return _problem; }
    /// Has the programs keep what the user sees, at once and without a word, then end.
    void systemShutsDown() { ::kill(static_cast<pid_t>(_process.processId()), SIGTERM); }
    /// The user does so: the programs are to save all they have, and may ask.
    static void logOut(const Desktop& desktop) {
        desktop.bringToFront(QStringLiteral("^xsm"));
        const QString window = desktop.windows(QStringLiteral("^xsm")).value(0);
        const QString words = QStringLiteral(
            "mousemove --window %1 142 47 mousedown 1 sleep 0.5 mousemove_relative 0 26 mouseup 1");
        desktop.xdotool(words.arg(window).split(u' '));  // the button's menu, and its first line
        desktop.bringToFront(QStringLiteral("^Shutdown"));
        desktop.xdotool({QStringLiteral("type"), QStringLiteral("work")});  // the session's name
        desktop.key(QStringLiteral("Return"));
    }

 private:
    QProcess _process;
    QString _problem;
};
