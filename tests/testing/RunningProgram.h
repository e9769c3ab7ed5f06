// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "testing/Desktop.h"

#include <QProcess>
#include <QRect>
#include <QStringList>
#include <QTemporaryFile>

/// Where the program under test lies: below TAVLIN_PREFIX, which may name an installed one, else in the
/// build.
QString programPrefix();

/// Inside a mount sandbox, before another user starts the program: shows it to everybody, as what it was
/// built in may be private.
void showProgramToEverybody();

/// The program under test on a Desktop: started, heard (its log), and found on the accessibility bus.
class RunningProgram {
 public:
    RunningProgram(const Desktop& desktop, const QStringList& arguments);
    /// Not on the desktop's own display.
    RunningProgram(const QProcessEnvironment& environment, const QStringList& arguments);
    /// Ends the program if it still runs.
    ~RunningProgram();

    bool isRunning() const { return _process.state() == QProcess::Running; }
    qint64 processId() const { return _process.processId(); }
    /// The lines it has written to standard error so far.
    QStringList log();
    /// The messages of the debug log in order, without time and process: "-[Class operation] (line): text".
    QStringList debugLog();
    /// Waits for a line that contains the text.
    bool waitForLog(const QString& text, int milliseconds = 10000);
    /// Asks it to end as a session does (SIGTERM) and answers its exit status, -1 when it did not end in time
    /// or died.
    int terminate();
    /// Waits for it to end by itself.
    int waitForEnd(int milliseconds = 30000);

 private:
    QProcess _process;
    QTemporaryFile _log;
};

/// What the accessibility bus tells of one object.
struct AccessibleObject {
    QString service;
    QString path;
    QString name;
    QString role;
    QRect extents;  ///< on the screen, in pixels
    bool isValid() const { return !path.isEmpty(); }
};

/// What an object can be, by its number on the bus.
enum class AccessibleState { checked = 4, enabled = 8, focused = 12, selected = 23 };

/// Reads the accessibility bus of a desktop as an assistive program does (AT-SPI 2).
class AccessibilityBus {
 public:
    explicit AccessibilityBus(const Desktop& desktop);
    ~AccessibilityBus();

    /// The first object of the running program "tavlin" with this role and name, waited for.
    AccessibleObject find(const QString& role, const QString& name, int milliseconds = 10000) const;
    QList<AccessibleObject> children(const AccessibleObject& object) const;
    /// All children of a role, by what their names are.
    QStringList names(const AccessibleObject& parent, const QString& role) const;
    bool is(const AccessibleObject& object, AccessibleState state) const;
    QString description(const AccessibleObject& object) const;
    /// The text of an object that holds one.
    QString text(const AccessibleObject& object) const;

 private:
    AccessibleObject application() const;
    AccessibleObject search(const QString& role, const QString& name) const;
    QString _connection;
};
