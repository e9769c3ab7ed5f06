// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Application.h"

#include "platform/desktop/MainMenu.h"
#include "platform/desktop/UserDefaults.h"
#include "platform/PathBytes.h"
#include "testing/PrivateBus.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <QCloseEvent>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace {

void say(const char* text) {
    std::printf("%s\n", text);
    std::fflush(stdout);
}

class TellingWindow : public QWidget {
 protected:
    void closeEvent(QCloseEvent* event) override {
        say("close event");
        QWidget::closeEvent(event);
    }
};

/// Says each call on standard output, and ends in the way that the environment names.
class TellingInterface : public platform::MainInterface, public platform::ApplicationDelegate {
 public:
    explicit TellingInterface(const QByteArray& ending) : _ending(ending) {
        _menu.addMenu(u"File"_s, u"File"_s);
        say("created");
    }

    platform::ApplicationDelegate& delegate() override { return *this; }
    QWidget& mainWindow() override { return _window; }
    platform::MainMenu& mainMenu() override { return _menu; }
    void restoreState() override {
        say("restore state");
        throwIfAsked();
    }
    void saveState() override {
        say("save state");
        throwIfAsked();
    }
    void awake() override { say("awake"); }
    void openPaths(const QStringList& paths) override {
        say(("open " + platform::bytesFromPath(paths.join(u", "_s))).constData());
        QTimer::singleShot(0, &_window, [this] { end(); });
    }
    bool hasDetachedWork() const override { return _ending == "detached"; }

    void applicationDidFinishLaunching() override {
        say("did finish launching");
        _window.show();
        throwIfAsked();
        if (_ending == "early")
            platform::Application::shared()->terminate();
    }
    /// Leaves settings that take a while to write.
    void applicationWillTerminate() override {
        say("will terminate");
        QVariantMap settings{{u"ending"_s, QString::fromLatin1(_ending)}};
        for (int i = 0; i < 20000; ++i)
            settings.insert(QString::number(i), i);
        platform::UserDefaults::standardUserDefaults().setDictionaryForKey(settings, u"Test"_s);
    }
    void applicationWillBecomeActive() override { say("will become active"); }
    void applicationWillUnhide() override {}
    bool validateMenuItem(const platform::MenuItem& /*item*/) override { return true; }

 private:
    void throwIfAsked() const {
        if (_ending == "throws")
            throw std::runtime_error("thrown on purpose");
    }
    void end() {
        if (_ending == "quit")
            QCoreApplication::quit();
        else if (_ending == "close")
            _window.close();
        else if (_ending == "signal")
            say("ready");
        else
            platform::Application::shared()->terminate();
    }

    QByteArray _ending;
    platform::MainMenu _menu;
    TellingWindow _window;
};

}  // namespace

class TestApplication : public QObject {
    Q_OBJECT

    const QString _settingsPath = platform::UserDefaults::standardUserDefaults().filePath();

    static QProcessEnvironment environment(const char* ending, const QByteArray& bus = "disabled:") {
        QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
        result.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromLatin1(bus));
        result.insert(u"TAVLIN_TEST_ENDING"_s, QString::fromLatin1(ending));
        return result;
    }
    static void start(QProcess& child, const char* ending, const QStringList& arguments = {},
                      const QByteArray& bus = "disabled:") {
        child.setProcessEnvironment(environment(ending, bus));
        child.start(QCoreApplication::applicationFilePath(), arguments);
        QVERIFY(child.waitForStarted());
    }
    static bool endsWell(QProcess& child) {
        return child.waitForFinished() && child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
    }

 private Q_SLOTS:
    void wholeLife() {
        for (const char* ending : {"terminate", "quit", "close", "detached", "throws", "early"}) {
            QProcess child;
            start(child, ending, {u"/some/folder/"_s});
            QVERIFY2(endsWell(child), ending);
            QStringList lines =
                QString::fromUtf8(child.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
            lines.removeAll(u"will become active"_s);
            QStringList expected{u"created"_s, u"restore state"_s, u"awake"_s, u"did finish launching"_s,
                                 u"open /some/folder"_s};
            if (ending == QByteArray("close"))
                expected += u"close event"_s;
            expected << u"save state"_s << u"will terminate"_s;
            QVERIFY2(lines == expected, qPrintable(QLatin1String(ending) + u": "_s + lines.join(u", "_s)));
            const auto settings = platform::UserDefaults(_settingsPath).dictionaryForKey(u"Test"_s);
            QVERIFY2(settings && settings->value(u"ending"_s).toString() == QLatin1String(ending), ending);
        }
    }

    /// It is told once of coming to the front, after it has opened its folder, and once of its end.
    void signalsEndItOnce() {
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            QProcess child;
            start(child, "signal");
            QByteArray output;
            QTRY_VERIFY((output += child.readAllStandardOutput()).contains("will become active"));
            QVERIFY(output.indexOf("open ") < output.indexOf("will become active"));
            QTRY_VERIFY((output += child.readAllStandardOutput()).contains("ready"));
            ::kill(static_cast<pid_t>(child.processId()), signal);
            QVERIFY(endsWell(child));
            output += child.readAllStandardOutput();
            QCOMPARE(output.count("will become active"), 1);
            QCOMPARE(output.count("will terminate"), 1);
            QVERIFY(!output.contains("close event"));
        }
    }

    /// Also names that are not UTF-8 and hold a newline, and two starts at the same moment.
    void laterStartsHandOverTheirPaths() {
        const PrivateBus bus;
        QVERIFY(!bus.address().isEmpty());
        const QTemporaryDir folder;
        const QString at = folder.path() + u'/';
        const QByteArray odd = QFile::encodeName(at) + "x\xFFy\nz";
        const auto removeOdd = qScopeGuard([&] { std::remove(odd.constData()); });
        writeFile(odd, {});
        for (const char* name : {"one", "two", "%C3", "alone", "three", "four"})
            writeFile(at + QString::fromLatin1(name), {});
        QProcess starts[2];
        start(starts[0], "signal", {at + u"one"_s}, bus.address());
        start(starts[1], "signal", {at + u"two"_s}, bus.address());
        QTRY_VERIFY_WITH_TIMEOUT(
            (starts[0].state() == QProcess::NotRunning) != (starts[1].state() == QProcess::NotRunning),
            20000);
        QProcess& first = starts[starts[0].state() == QProcess::NotRunning ? 1 : 0];
        QCOMPARE(starts[&first == &starts[0] ? 1 : 0].exitCode(), 0);
        QByteArray output;
        const auto opens = [&](const char* names) {
            const QByteArray line =
                QByteArray("open @").append(names).replace('@', QFile::encodeName(at)) + '\n';
            return QTest::qWaitFor([&] { return (output += first.readAllStandardOutput()).contains(line); },
                                   20000);
        };
        QVERIFY(opens("one") && opens("two"));

        QProcess later;
        start(later, "signal",
              {u"-style"_s, u"fusion"_s, at + u"a b/../%C3"_s, u"file://"_s + at + u"x%FFy%0Az/"_s},
              bus.address());
        QVERIFY(endsWell(later));
        QVERIFY(later.readAllStandardOutput().isEmpty());
        QVERIFY(opens("%C3, @x\xFFy\nz"));

        // Where the running program does not answer the next start runs alone; where it dies, in its place.
        ::kill(static_cast<pid_t>(first.processId()), SIGSTOP);
        QProcess alone;
        start(alone, "terminate", {at + u"alone"_s}, bus.address());
        QVERIFY(alone.waitForFinished());
        QVERIFY(alone.readAllStandardOutput().contains(QFile::encodeName(u"open "_s + at + u"alone\n"_s)));
        QVERIFY(alone.readAllStandardError().contains("this one runs on its own"));
        // Nor does the running program open it as well when it wakes: requests come in their order.
        ::kill(static_cast<pid_t>(first.processId()), SIGCONT);
        QProcess afterwards;
        start(afterwards, "signal", {at + u"four"_s}, bus.address());
        QVERIFY(endsWell(afterwards));
        QVERIFY(opens("four"));
        QVERIFY(!output.contains("/alone"));

        ::kill(static_cast<pid_t>(first.processId()), SIGSTOP);
        QProcess heir;
        start(heir, "terminate", {at + u"three"_s}, bus.address());
        QVERIFY(!heir.waitForReadyRead(500));
        first.kill();
        QVERIFY(first.waitForFinished());
        QVERIFY(heir.waitForFinished());
        QVERIFY(heir.readAllStandardOutput().contains(QFile::encodeName(u"open "_s + at + u"three\n"_s)));
    }

    void answersOnTheCommandLine_data() {
        const Table<QStringList, bool, int, QString, QString> columns("arguments", "hasDisplay", "status",
                                                                      "output", "error");
        const auto row = [](const char* name, const QByteArray& words, bool hasDisplay, int status,
                            const char* output, const char* error) {
            QTest::newRow(name) << QString::fromLatin1(words).split(u' ', Qt::SkipEmptyParts) << hasDisplay
                                << status << QString::fromLatin1(output) << QString::fromLatin1(error);
        };
        row("help", "--help", false, 0, "Usage:", "");
        row("unknown option", "--bogus", true, 2, "", "\"--bogus\"");
        row("after the toolkit's own", "-style fusion --bogus", true, 2, "", "\"--bogus\"");
        row("unknown option, no display", "--bogus", false, 2, "", "\"--bogus\"");
        row("no path of this computer", "file://elsewhere/x", false, 2, "", "file://elsewhere/x");
        row("the toolkit's own with a value", "--style=fusion -qwindowtitle --bogus --help", false, 0,
            "Usage:", "");
        row("with =, where the toolkit takes none", "--platform=offscreen", false, 2, "",
            "--platform=offscreen");
        row("a name like an option", "-- --bogus", false, 1, "", "no display");
        row("no display", "", false, 1, "", "no display");
    }
    void answersOnTheCommandLine() {
        QFETCH(const QStringList, arguments);
        QFETCH(const bool, hasDisplay);
        QFETCH(const QString, output);
        QFETCH(const QString, error);
        QProcess child;
        QProcessEnvironment variables = environment("terminate");
        if (!hasDisplay)
            for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
                variables.remove(QString::fromLatin1(name));
        child.setProcessEnvironment(variables);
        child.start(QCoreApplication::applicationFilePath(), arguments);
        QVERIFY(child.waitForFinished());
        QTEST(child.exitCode(), "status");
        const QString said = QString::fromUtf8(child.readAllStandardOutput());
        const QString complained = QString::fromUtf8(child.readAllStandardError());
        QCOMPARE(said.isEmpty(), output.isEmpty());
        QVERIFY2(said.contains(output), qPrintable(said));
        QVERIFY2(complained.contains(error), qPrintable(complained));
    }
};

int main(int argc, char** argv) {
    if (const QByteArray ending = qgetenv("TAVLIN_TEST_ENDING"); !ending.isEmpty())
        return platform::Application::run(argc, argv,
                                          [&ending] { return std::make_unique<TellingInterface>(ending); });
    const TestHome home;
    const QCoreApplication application(argc, argv);
    TestApplication test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_application.moc"
