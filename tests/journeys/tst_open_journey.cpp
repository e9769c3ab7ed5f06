// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"
#include "platform/PathBytes.h"

#include <sys/stat.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <csignal>
#include <cstdio>

namespace {

const QString kName = QStringLiteral(TAVLIN_APPLICATION_ID);

}  // namespace

/// Pictures come from a terminal and from a file manager, which ask the running program or have it started.
class OpenJourney : public Journey {
    Q_OBJECT

    struct Home {
        Desktop desktop;
        QString first;      ///< a folder of three pictures
        QString second;     ///< of two, and of one whose name holds a newline and a byte that is not UTF-8
        QByteArray odd;     ///< that one's path
        QStringList shown;  ///< the titles of the second folder
    };

 private Q_SLOTS:
    void init() {
        _home = std::make_unique<Home>();
        if (!_home->desktop.problem().isEmpty())
            QSKIP(qPrintable(_home->desktop.problem()));
        _home->first = makeFolder(_home->desktop, QStringLiteral("first"), 3);
        _home->second = makeFolder(_home->desktop, QStringLiteral("second"), 3);
        _home->odd = QFile::encodeName(_home->second) + "/odd\xff\nname.jpg";
        QCOMPARE(std::rename(QFile::encodeName(_home->second + QStringLiteral("/002.jpg")).constData(),
                             _home->odd.constData()),
                 0);
        _home->shown = QStringList{QStringLiteral("000.jpg"), QStringLiteral("001.jpg"), oddTitle()};
    }
    void cleanup() {
        std::remove(_home->odd.constData());  // the toolkit's own removal passes over such names
        _home.reset();
    }

    /// The second start ends; the program that runs comes forward with what was asked for.
    void aSecondStartOpensInTheFirst() {
        const Desktop& desktop = _home->desktop;
        RunningProgram program(desktop, {_home->first});
        const AccessibilityBus bus(desktop);
        QVERIFY(waitUntil([&] { return titles(bus).size() == 3 && activeTitle() == u"first — Tavlin"; }));
        QProcess other;
        other.setProcessEnvironment(desktop.environment());
        other.start(QStringLiteral("xev"), {});
        QVERIFY(waitUntil([&] { return activeTitle() == u"Event Tester"; }));

        QProcessEnvironment terminal = desktop.environment();
        terminal.insert(QStringLiteral("DESKTOP_STARTUP_ID"), QStringLiteral("launcher-\"1\"_TIME0"));
        RunningProgram second(
            terminal, {_home->second + QStringLiteral("/000.jpg"),
                       QString::fromLatin1(platform::fileUriFromPath(platform::pathFromBytes(_home->odd))),
                       _home->second + QStringLiteral("/001.jpg"), QStringLiteral("/nowhere")});
        QCOMPARE(second.waitForEnd(20000), 0);
        verifyAsked(bus);
        QVERIFY(program.waitForLog(QStringLiteral("there is no file or folder \"/nowhere\""), 20000));

        // Without a picture the main window comes to the front.
        other.terminate();
        other.waitForFinished();
        RunningProgram third(desktop, {});
        QCOMPARE(third.waitForEnd(20000), 0);
        QVERIFY(waitUntil([&] { return activeTitle() == u"second — Tavlin"; }));
        QCOMPARE(program.terminate(), 0);
    }

    /// Without a bus each start runs alone, and no library starts a bus, which would leave its address there.
    void withoutABus() {
        QProcessEnvironment environment = _home->desktop.environment();
        environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
        RunningProgram first(environment, {_home->first});
        RunningProgram second(environment, {_home->second});
        for (const char* folder : {"first", "second"})
            QVERIFY(waitUntil([&] {
                return !_home->desktop
                            .run(QStringLiteral("xdotool"),
                                 {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                  QStringLiteral("--name"), u'^' + QString::fromLatin1(folder)})
                            .isEmpty();
            }));
        QCOMPARE(first.terminate(), 0);
        QCOMPARE(second.terminate(), 0);
        QVERIFY(!QDir(_home->desktop.folder(QStringLiteral("home/.dbus"))).exists());
    }

    /// Nothing runs: the bus starts the program by its service file.
    void theBusStartsIt() {
        const Desktop& desktop = _home->desktop;
        const QString services = desktop.folder(QStringLiteral("data/dbus-1/services"));
        QDir().mkpath(services);
        QFile service(services + u'/' + kName + QStringLiteral(".service"));
        QVERIFY(service.open(QFile::WriteOnly));
        service.write(QStringLiteral("[D-BUS Service]\nName=%1\nExec=%2/bin/tavlin --service\n")
                          .arg(kName, programPrefix())
                          .toUtf8());
        service.close();
        auto connection = QDBusConnection::connectToBus(desktop.busAddress(), QStringLiteral("launcher"));
        QDBusConnectionInterface& daemon = *connection.interface();
        daemon.call(QStringLiteral("ReloadConfig"));

        auto open = request(QStringLiteral("Open"));
        QStringList uris;
        for (const QByteArray& path :
             {QFile::encodeName(_home->second + QStringLiteral("/000.jpg")), _home->odd,
              QFile::encodeName(_home->second + QStringLiteral("/001.jpg"))})
            uris += QString::fromLatin1(platform::fileUriFromPath(platform::pathFromBytes(path)));
        open << uris << QVariantMap{{QStringLiteral("activation-token"), QStringLiteral("x")}};
        const QDBusMessage answer = connection.call(open, QDBus::Block, 20000);
        QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
        const AccessibilityBus bus(desktop);
        verifyAsked(bus);
        QCOMPARE(endService(daemon), 0U);

        // Asked for nothing in particular, it shows the folder of the last time.
        const QDBusMessage answered =
            connection.call(request(QStringLiteral("Activate")) << QVariantMap(), QDBus::Block, 20000);
        QCOMPARE(answered.type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&] { return titles(bus) == _home->shown; }));
        QCOMPARE(imageTitles(), QStringList());
        QCOMPARE(endService(daemon), 0U);
        QDBusConnection::disconnectFromBus(QStringLiteral("launcher"));
    }

 private:
    template <typename Condition>
    static bool waitUntil(Condition condition) {
        return QTest::qWaitFor(condition, 20000);
    }
    static QString oddTitle() { return QStringLiteral("odd\uFFFD name.jpg"); }
    static QDBusMessage request(const QString& method) {
        return QDBusMessage::createMethodCall(kName, QStringLiteral("/org/tavlin/Tavlin"),
                                              QStringLiteral("org.freedesktop.Application"), method);
    }
    QString activeTitle() const {
        return _home->desktop
            .run(QStringLiteral("xdotool"),
                 {QStringLiteral("getactivewindow"), QStringLiteral("getwindowname")})
            .trimmed();
    }
    /// Of the open picture windows, sorted.
    QStringList imageTitles() const {
        const QString windows = _home->desktop.run(QStringLiteral("xdotool"),
                                                   {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                                    QStringLiteral("--name"), QStringLiteral("\\.jpg")});
        QStringList names;
        for (const QString& window : windows.split(u'\n', Qt::SkipEmptyParts))
            names += _home->desktop.run(QStringLiteral("xdotool"), {QStringLiteral("getwindowname"), window})
                         .trimmed();
        names.sort();
        return names;
    }
    /// All three pictures of the second folder are open, one in front, and that folder is the selected one.
    void verifyAsked(const AccessibilityBus& bus) const {
        const QStringList windows{QStringLiteral("000.jpg — Tavlin"), QStringLiteral("001.jpg — Tavlin"),
                                  oddTitle() + QStringLiteral(" — Tavlin")};
        std::ignore = waitUntil([&] { return imageTitles() == windows; });
        QCOMPARE(imageTitles(), windows);
        QVERIFY(waitUntil([&] { return windows.contains(activeTitle()); }));
        std::ignore = waitUntil([&] { return titles(bus) == _home->shown; });
        QCOMPARE(titles(bus), _home->shown);
        const int number = static_cast<int>(windows.indexOf(activeTitle()));
        // The window in front takes most of the screen, and the picture the window's middle.
        QVERIFY(waitUntil([&] {
            const QImage screen = _home->desktop.screenshot();
            return shows(screen, screen.rect(), colourOf(number));
        }));
        _home->desktop.keepScreenshot(QStringLiteral("opened"));
    }
    /// Ends the program that the bus has started; answers its number once it has gone: 0.
    static uint endService(QDBusConnectionInterface& daemon) {
        const uint process = daemon.servicePid(kName);
        ::kill(static_cast<pid_t>(process), SIGTERM);
        return process != 0 && waitUntil([&] { return !daemon.isServiceRegistered(kName); }) ? 0 : process;
    }

    std::unique_ptr<Home> _home;
};

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    OpenJourney journey;
    return QTest::qExec(&journey, argc, argv);
}

#include "tst_open_journey.moc"
