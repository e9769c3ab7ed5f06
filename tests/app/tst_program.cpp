// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/WindowState.h"
#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "testing/TestMain.h"

#include <QProcess>

#include <algorithm>
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
    bool waitFor(QProcess& program, const QByteArrayList& texts) {
        const auto tells = [&](const QByteArray& text) {
            return _log.contains(text);
        };
        return QTest::qWaitFor(
            [&] {
                _log += program.readAll();
                return std::all_of(texts.begin(), texts.end(), tells);
            },
            20000);
    }
    static QByteArray loading(const QString& folder) { return "Reloading for path: " + folder.toUtf8(); }
    void runUntilLoaded(const QStringList& arguments, const QString& folder) {
        runUntil(arguments, {loading(folder) + '\n'});
    }
    /// Starts the program, waits until its log tells all this, and ends it as a session does.
    void runUntil(const QStringList& arguments, const QByteArrayList& texts) {
        QProcess program;
        _log.clear();
        start(program, arguments);
        QVERIFY2(waitFor(program, texts), _log.right(900).constData());
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
        const QString absent = home() + u"/absent"_s;
        const QByteArray told = "tavlin: there is no file or folder \"" + absent.toUtf8() + '"';
        // On a busy machine the answer may come late, when what there is of the path is shown already.
        for (int tries = 0; tries < 5 && !_log.contains(told); ++tries) {
            runUntilLoaded({one}, one);
            QCOMPARE(WindowState::read(WindowState::defaultFilePath()).folder, one);
            runUntil({absent}, {told, loading(home())});
            if (!_log.contains(loading(one) + '\n'))
                _log.clear();
        }
        QVERIFY2(_log.contains(told) && _log.contains(loading(one) + '\n'), "the last folder was not shown");
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
