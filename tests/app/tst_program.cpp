// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/WindowState.h"
#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

/// The built program as a process of its own, with no screen.
class TestProgram : public QObject {
    Q_OBJECT

    QByteArray _log;

    static void start(QProcess& program, const QStringList& arguments) {
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QStringLiteral(TAVLIN_BUILD_DIR "/bin/tavlin"), arguments);
        QVERIFY(program.waitForStarted());
    }
    bool waitFor(QProcess& program, const QByteArray& text) {
        return QTest::qWaitFor([&] { return (_log += program.readAll()).contains(text); }, 20000);
    }
    void runUntilLoaded(const QStringList& arguments, const QString& folder) {
        runUntil(arguments, "Reloading for path: " + folder.toUtf8() + '\n');
    }
    /// Starts the program, waits until its log tells so, and ends it as a session does.
    void runUntil(const QStringList& arguments, const QByteArray& text) {
        QProcess program;
        _log.clear();
        start(program, arguments);
        QVERIFY2(waitFor(program, text), _log.right(900).constData());
        ::kill(static_cast<pid_t>(program.processId()), SIGTERM);
        QVERIFY(program.waitForFinished());
        _log += program.readAll();
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
    }
    static QString home() { return qEnvironmentVariable("HOME"); }

 private Q_SLOTS:
    void initTestCase() {
        platform::UserDefaults::standardUserDefaults().setDictionaryForKey(
            {{PreferenceKeys::debugLogging, true}}, u"PreferencesGlobals"_s);
        for (const char* folder : {"one", "two", "Pictures"})
            QVERIFY(QDir(home()).mkpath(QString::fromLatin1(folder)));
    }

    void folderOfTheLastRunComesBack() {
        const QString one = home() + u"/one"_s;
        const QString two = home() + u"/two"_s;
        runUntilLoaded({two}, two);
        runUntilLoaded({}, two);
        runUntilLoaded({one}, one);
        QCOMPARE(WindowState::read(WindowState::defaultFilePath()).folder, one);

        const QString absent = home() + u"/absent"_s;
        runUntil({absent}, "tavlin: there is no file or folder \"" + absent.toUtf8() + '"');
    }

    /// Texts, credits, icons and decoder: a program that was half removed still opens, and ends well.
    void missingPartsAreHarmless() {
        const QByteArray prefix = qgetenv("TAVLIN_PREFIX");
        qputenv("TAVLIN_PREFIX", QFile::encodeName(home() + u"/nothing here"_s));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(home() + u"/no themes"_s));
        runUntilLoaded({home() + u"/Pictures"_s}, home() + u"/Pictures"_s);
        qputenv("TAVLIN_PREFIX", prefix);
        qunsetenv("XDG_DATA_DIRS");
    }

    void corruptStateIsHarmless() {
        QFile file(WindowState::defaultFilePath());
        QVERIFY(QDir().mkpath(QFileInfo(file).path()));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("{\"geometry\": \"AdnQywADAAD////wAAAA\", \"splitter\": \"////AAAA\", \"zoom\": 1e300,");
        file.close();
        runUntilLoaded({}, home() + u"/Pictures"_s);
        QCOMPARE(WindowState::read(WindowState::defaultFilePath()).folder, home() + u"/Pictures"_s);
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, TestProgram)
#include "tst_program.moc"
