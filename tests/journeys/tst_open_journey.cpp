// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"
#include "platform/PathBytes.h"

#include <sys/stat.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <csignal>
#include <cstdio>

using namespace Qt::StringLiterals;

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
        _home->first = makeFolder(_home->desktop, u"first"_s, 3);
        _home->second = makeFolder(_home->desktop, u"second"_s, 3);
        _home->odd = QFile::encodeName(_home->second) + "/odd\xff\nname.jpg";
        QCOMPARE(
            std::rename(QFile::encodeName(_home->second + u"/002.jpg"_s).constData(), _home->odd.constData()),
            0);
        _home->shown = QStringList{u"000.jpg"_s, u"001.jpg"_s, oddTitle()};
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
        QVERIFY(waitUntil(
            [&] { return titles(bus).size() == 3 && _home->desktop.activeTitle() == u"first — Tavlin"; }));
        QProcess other;
        other.setProcessEnvironment(desktop.environment());
        other.start(u"xev"_s, {});
        QVERIFY(waitUntil([&] { return _home->desktop.activeTitle() == u"Event Tester"; }));

        QProcessEnvironment terminal = desktop.environment();
        terminal.insert(u"DESKTOP_STARTUP_ID"_s, u"launcher-\"1\"_TIME0"_s);
        RunningProgram second(
            terminal, {_home->second + u"/000.jpg"_s,
                       QString::fromLatin1(platform::fileUriFromPath(platform::pathFromBytes(_home->odd))),
                       _home->second + u"/001.jpg"_s, u"/nowhere"_s});
        QCOMPARE(second.waitForEnd(20000), 1);
        const QStringList told{u"tavlin: there is no file or folder \"/nowhere\""_s};
        QCOMPARE(second.log(), told);
        verifyAsked(bus);

        // Where nothing is to open, the window stays where it is; without a path it comes to the front.
        const QString front = _home->desktop.activeTitle();
        RunningProgram vain(desktop, {u"/nowhere"_s});
        QCOMPARE(vain.waitForEnd(20000), 1);
        QCOMPARE(vain.log(), told);
        QCOMPARE(_home->desktop.activeTitle(), front);
        QCOMPARE(program.log().filter(u"no file"_s), QStringList());
        other.terminate();
        other.waitForFinished();
        RunningProgram third(desktop, {});
        QCOMPARE(third.waitForEnd(20000), 0);
        QVERIFY(waitUntil([&] { return _home->desktop.activeTitle() == u"second — Tavlin"; }));
        QCOMPARE(program.terminate(), 0);
    }

    /// Without a bus each start runs alone, and no library starts a bus, which would leave its address there.
    void withoutABus() {
        QProcessEnvironment environment = _home->desktop.environment();
        environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_s);
        RunningProgram first(environment, {_home->first});
        RunningProgram second(environment, {_home->second});
        for (const char* folder : {"first", "second"})
            QVERIFY(waitUntil(
                [&] { return !_home->desktop.windows(u'^' + QString::fromLatin1(folder)).isEmpty(); }));
        QCOMPARE(first.terminate(), 0);
        QCOMPARE(second.terminate(), 0);
        QVERIFY(!QDir(_home->desktop.folder(u"home/.dbus"_s)).exists());
    }

    /// Nothing runs: the bus starts the program by its service file.
    void theBusStartsIt() {
        const Desktop& desktop = _home->desktop;
        const QString services = desktop.folder(u"data/dbus-1/services"_s);
        QDir().mkpath(services);
        QFile service(services + u'/' + kName + u".service"_s);
        QVERIFY(service.open(QFile::WriteOnly));
        service.write(
            u"[D-BUS Service]\nName=%1\nExec=%2/bin/tavlin --service\n"_s.arg(kName, programPrefix())
                .toUtf8());
        service.close();
        auto connection = QDBusConnection::connectToBus(desktop.busAddress(), u"launcher"_s);
        QDBusConnectionInterface& daemon = *connection.interface();
        daemon.call(u"ReloadConfig"_s);

        auto open = request(u"Open"_s);
        QStringList uris;
        for (const QByteArray& path : {QFile::encodeName(_home->second + u"/000.jpg"_s), _home->odd,
                                       QFile::encodeName(_home->second + u"/001.jpg"_s)})
            uris += QString::fromLatin1(platform::fileUriFromPath(platform::pathFromBytes(path)));
        open << uris << QVariantMap{{u"activation-token"_s, u"x"_s}};
        const QDBusMessage answer = connection.call(open, QDBus::Block, 20000);
        QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
        const AccessibilityBus bus(desktop);
        verifyAsked(bus);
        QCOMPARE(endService(daemon), 0U);

        // Asked for nothing in particular, it shows the folder of the last time.
        const QDBusMessage answered =
            connection.call(request(u"Activate"_s) << QVariantMap(), QDBus::Block, 20000);
        QCOMPARE(answered.type(), QDBusMessage::ReplyMessage);
        QVERIFY(waitUntil([&] { return titles(bus) == _home->shown; }));
        QCOMPARE(imageTitles(), QStringList());
        QCOMPARE(endService(daemon), 0U);
        QDBusConnection::disconnectFromBus(u"launcher"_s);
    }

 private:
    template <typename Condition>
    static bool waitUntil(Condition condition) {
        return QTest::qWaitFor(condition, 20000);
    }
    static QString oddTitle() { return u"odd\uFFFD name.jpg"_s; }
    static QDBusMessage request(const QString& method) {
        return QDBusMessage::createMethodCall(kName, u"/org/tavlin/Tavlin"_s,
                                              u"org.freedesktop.Application"_s, method);
    }
    /// Of the open picture windows, sorted.
    QStringList imageTitles() const {
        QStringList names;
        for (const QString& window : _home->desktop.windows(u"\\.jpg"_s))
            names += _home->desktop.xdotool({u"getwindowname"_s, window});
        names.sort();
        return names;
    }
    /// All three pictures of the second folder are open, one in front, and that folder is the selected one.
    void verifyAsked(const AccessibilityBus& bus) const {
        const QStringList windows{u"000.jpg — Tavlin"_s, u"001.jpg — Tavlin"_s, oddTitle() + u" — Tavlin"_s};
        std::ignore = waitUntil([&] { return imageTitles() == windows; });
        QCOMPARE(imageTitles(), windows);
        QVERIFY(waitUntil([&] { return windows.contains(_home->desktop.activeTitle()); }));
        std::ignore = waitUntil([&] { return titles(bus) == _home->shown; });
        QCOMPARE(titles(bus), _home->shown);
        const int number = static_cast<int>(windows.indexOf(_home->desktop.activeTitle()));
        // The window in front takes most of the screen, and the picture the window's middle.
        QVERIFY(waitUntil([&] {
            const QImage screen = _home->desktop.screenshot();
            return shows(screen, screen.rect(), colourOf(number));
        }));
        _home->desktop.keepScreenshot(u"opened"_s);
    }
    /// Ends the program that the bus has started; answers its number once it has gone: 0.
    static uint endService(QDBusConnectionInterface& daemon) {
        const uint process = daemon.servicePid(kName);
        ::kill(static_cast<pid_t>(process), SIGTERM);
        return process != 0 && waitUntil([&] { return !daemon.isServiceRegistered(kName); }) ? 0 : process;
    }

    std::unique_ptr<Home> _home;
};

TAVLIN_JOURNEY_MAIN(OpenJourney)
#include "tst_open_journey.moc"
