// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/NotificationBridge.h"
#include "testing/Desktop.h"
#include "testing/PrivateBus.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QStandardPaths>

using namespace Qt::StringLiterals;
using platform::NotificationBridge;

namespace {

const QString kService = u"org.freedesktop.Notifications"_s;
const QString kPath = u"/org/freedesktop/Notifications"_s;
const QString kApplication = QStringLiteral(TAVLIN_APPLICATION_ID);

struct Recorder final : platform::NotificationBridgeDelegate {
    QStringList heard;

    QVariantMap registrationDictionaryForGrowl() override {
        return {{u"AllNotifications"_s, QStringList{u"mine"_s}}};
    }
    QString applicationNameForGrowl() override { return u"Tavlin"_s; }
    std::optional<QByteArray> applicationIconDataForGrowl() override { return std::nullopt; }
    void growlIsReady() override { heard << u"ready"_s; }
    void growlNotificationWasClicked(const QString& context) override { heard << u"clicked "_s + context; }
    void growlNotificationTimedOut(const QString& context) override { heard << u"timed out "_s + context; }
};

}  // namespace

/// A notification service in all its moods, on a connection of its own.
class Service : public QObject, public QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

 public:
    explicit Service(const QDBusConnection& bus) : _bus(bus) {
        _bus.registerObject(kPath, this, QDBusConnection::ExportAllContents);
    }
    ~Service() override { goAway(); }
    bool appear() { return _bus.registerService(kService); }
    void goAway() { _bus.unregisterService(kService); }

    bool hangs = false;
    QList<QVariantList> received;

 public Q_SLOTS:
    uint Notify(const QString& application, uint /*replaces*/, const QString& icon, const QString& title,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int expiry) {
        received << QVariantList{application, icon, title, body, actions, hints, expiry};
        setDelayedReply(hangs);
        return static_cast<uint>(received.size());
    }

 Q_SIGNALS:
    void ActionInvoked(uint id, const QString& action);
    void NotificationClosed(uint id, uint reason);

 private:
    QDBusConnection _bus;
};

class NotificationBridgeTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        _desktop = std::make_unique<Desktop>();
        if (!_desktop->problem().isEmpty())
            QSKIP(qPrintable(u"no desktop: "_s + _desktop->problem()));
        QVERIFY(!_address.isEmpty());
    }
    void init() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", _address);
        _delegate = std::make_unique<Recorder>();
        _bridge = std::make_unique<NotificationBridge>();
        _bridge->setGrowlDelegate(_delegate.get());
    }

    void realServiceShowsClicksAndExpiry() {
        const QString program = QStandardPaths::findExecutable(u"dunst"_s);
        if (program.isEmpty())
            QSKIP("dunst is not installed");
        const QString settings = _desktop->folder(u"dunstrc"_s);
        writeFile(settings,
                  "[global]\nmouse_left_click=do_action,close_current\norigin=top-left\noffset=0x0\n"
                  "width=300\nnotification_limit=1\n[urgency_normal]\ntimeout=1\n"
                  "[urgency_critical]\ntimeout=0\n");
        QProcess dunst;
        QProcessEnvironment environment = _desktop->environment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromLatin1(_address));
        dunst.setProcessEnvironment(environment);
        dunst.start(program, {u"-conf"_s, settings, u"-print"_s});
        QVERIFY(dunst.waitForStarted());

        _bridge->connectToService();
        QTRY_COMPARE_WITH_TIMEOUT(_delegate->heard, QStringList{u"ready"_s}, 20000);
        QVERIFY(_bridge->isGrowlInstalled() && _bridge->isGrowlRunning());
        QByteArray shown;
        send(u"A <b>volume</b> & more"_s, 0);
        QTRY_VERIFY_WITH_TIMEOUT(
            (shown += dunst.readAll()).contains("A &lt;b&gt;volume&lt;/b&gt; &amp; more"), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(_delegate->heard.last(), u"timed out it"_s, 20000);
        send(u"Click me"_s, 2);
        QTRY_VERIFY_WITH_TIMEOUT((shown += dunst.readAll()).contains("Click me"), 20000);
        // Each time elsewhere, as the pointer is waited for until it has moved.
        int x = 40;
        QTRY_VERIFY_WITH_TIMEOUT((_desktop->click({++x, 20}), _delegate->heard.last() == u"clicked it"_s),
                                 20000);
        QCOMPARE(_delegate->heard.size(), 3);
        dunst.terminate();
        QVERIFY(dunst.waitForFinished());
    }

    void sendsWholeNotifications() {
        Service service(serviceBus());
        _bridge->connectToService();
        QTest::qWait(50);
        _bridge->notifyWithTitle(u"T"_s, u"too early"_s, u"mine"_s, {}, 0, false, u"it"_s);
        QVERIFY(service.appear());
        QTRY_COMPARE(_delegate->heard, QStringList{u"ready"_s});
        send(u"a\n\"<&>\""_s, -1);
        _bridge->notifyWithTitle(u"T"_s, u"b"_s, u"not registered"_s, {}, 0, false, u"it"_s);
        _bridge->notifyWithTitle(u"T"_s, u"sticky"_s, u"mine"_s, {}, 2, true, u"it"_s);
        QTRY_COMPARE(service.received.size(), 2);
        const QVariantMap hints{{u"desktop-entry"_s, kApplication},
                                {u"urgency"_s, QVariant::fromValue(uchar(0))}};
        const QStringList actions{u"default"_s, u"T"_s};
        QCOMPARE(service.received.first(),
                 QVariantList({u"Tavlin"_s, kApplication, u"T"_s, u"a\n&quot;&lt;&amp;&gt;&quot;"_s, actions,
                               hints, -1}));
        QCOMPARE(service.received.last().last(), 0);
        QTest::qWait(50);

        // Others' notifications, ends that are no expiry, and strangers that speak in the service's stead.
        Q_EMIT service.ActionInvoked(77, u"default"_s);
        Q_EMIT service.NotificationClosed(1, 2);
        QDBusMessage lie = QDBusMessage::createSignal(kPath, kService, u"ActionInvoked"_s);
        QVERIFY(QDBusConnection::sessionBus().send(lie << 2U << u"default"_s));
        Q_EMIT service.NotificationClosed(1, 1);
        Q_EMIT service.ActionInvoked(2, u"default"_s);
        QTRY_COMPARE(_delegate->heard.size(), 2);
        QTest::qWait(50);
        QCOMPARE(_delegate->heard, QStringList({u"ready"_s, u"clicked it"_s}));
    }

    void misbehaviour_data() {
        QTest::addColumn<QString>("mood");
        for (const char* mood : {"absent", "hangs", "goes away", "comes back"})
            QTest::newRow(mood) << QString::fromLatin1(mood);
    }
    /// The program is neither held up nor told anything, and the next notification arrives where one can.
    void misbehaviour() {
        QFETCH(const QString, mood);
        Service service(serviceBus());
        service.hangs = mood == u"hangs";
        const bool isThere = mood != u"absent";
        QVERIFY(!isThere || service.appear());
        _bridge->setPatience(200);
        _bridge->connectToService();
        if (isThere)
            QTRY_COMPARE(_delegate->heard, QStringList{u"ready"_s});
        else
            QTest::qWait(400);
        if (mood == u"goes away" || mood == u"comes back")
            service.goAway();
        QElapsedTimer timer;
        timer.start();
        send(u"first"_s, 0);
        QVERIFY(timer.elapsed() < 50);
        QTest::qWait(400);
        if (mood == u"comes back")
            QVERIFY(service.appear());
        service.hangs = false;
        send(u"second"_s, 0);
        const bool arrives = mood == u"hangs" || mood == u"comes back";
        if (arrives)
            QTRY_VERIFY(!service.received.isEmpty() && service.received.last().at(3).toString() == u"second");
        else
            QTest::qWait(200);
        QCOMPARE(service.received.isEmpty(), !arrives);
        QCOMPARE(_delegate->heard.size(), isThere ? 1 : 0);
        QVERIFY(isThere || !_bridge->isGrowlInstalled());
    }

 private:
    void send(const QString& text, int priority) {
        _bridge->notifyWithTitle(u"T"_s, text, u"mine"_s, {}, priority, false, u"it"_s);
    }
    QDBusConnection serviceBus() const {
        return QDBusConnection::connectToBus(QString::fromLatin1(_address), u"service"_s);
    }

    std::unique_ptr<Desktop> _desktop;
    const PrivateBus _bus;
    const QByteArray _address = _bus.address();
    std::unique_ptr<Recorder> _delegate;
    std::unique_ptr<NotificationBridge> _bridge;
};

TAVLIN_TEST_MAIN(QGuiApplication, NotificationBridgeTest)
#include "tst_notification_bridge.moc"
