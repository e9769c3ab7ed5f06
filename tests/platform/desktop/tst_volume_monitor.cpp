// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/VolumeMonitor.h"
#include "platform/PathBytes.h"
#include "testing/MountSandbox.h"
#include "testing/TestMain.h"

#include <gio/gio.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QSignalSpy>

using platform::Volume;
using platform::VolumeMonitor;

using namespace Qt::StringLiterals;

/// Follows real mounts, with whichever event loop it is started with.
class TestVolumeMonitor : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QVERIFY(MountSandbox::mountTmpfs(QStringLiteral("/media"), "mode=755"));
    }

    void cleanup() {
        for (const QByteArray& folder : std::exchange(_mounted, {})) {
            ::umount2(folder.constData(), MNT_DETACH);
            ::rmdir(folder.constData());
        }
    }

    /// Volumes come, whatever their names, and go, by force as well; the hidden are not told of.
    void comesAndGoes_data() {
        const Table<QByteArray, QString> row("name", "shown");
        row("plain", QByteArray("Camera 1"), u"Camera 1"_s);
        row("newline", QByteArray("two\nlines\\"), u"two lines\\"_s);
        row("no UTF-8", QByteArray("\xe9t\xe9"), u"\uFFFDt\uFFFD"_s);
    }
    void comesAndGoes() {
        QFETCH(QByteArray, name);
        QFETCH(QString, shown);
        const QString folder = platform::pathFromBytes("/media/" + name);
        VolumeMonitor monitor;
        QSignalSpy came(&monitor, &VolumeMonitor::didMount);
        QSignalSpy went(&monitor, &VolumeMonitor::didUnmount);
        QVERIFY(mount("/media/.hidden"));
        QVERIFY(mount("/media/" + name));
        QTRY_COMPARE(came.size(), 1);
        QCOMPARE(came.takeFirst(), (QVariantList{folder, shown}));
        QVERIFY(::umount2(("/media/" + name).constData(), MNT_DETACH) == 0);
        QTRY_COMPARE(went.size(), 1);
        QCOMPARE(went.takeFirst(), (QVariantList{folder, shown}));
        QVERIFY(came.isEmpty());
    }

    /// Every one of many is told once, in their order, and the event loop turns between them.
    void storm() {
        constexpr int count = 200;
        VolumeMonitor monitor;
        QSignalSpy came(&monitor, &VolumeMonitor::didMount);
        QSignalSpy went(&monitor, &VolumeMonitor::didUnmount);
        int turns = 0;
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &monitor,
                [&] { ++turns; });
        for (int i = 0; i < count; ++i)
            QVERIFY(mount("/media/" + QByteArray::number(i)));
        QTRY_COMPARE(came.size(), count);
        QVERIFY(turns >= count);
        for (int i = 0; i < count; ++i)
            QCOMPARE(came[i][1].toString(), QString::number(i));
        cleanup();
        QTRY_COMPARE(went.size(), count);
        QCOMPARE(came.size(), count);
    }

    /// Only the change is told, and a label that came later as that.
    void difference() {
        QList<Volume> listed{{u"/"_s, u"/"_s}, {u"/m/a"_s, u"a"_s}, {u"/m/b"_s, u"b"_s}};
        VolumeMonitor monitor(nullptr, [&] { return listed; });
        QStringList told;
        const auto keep = [&](const QString& kind) {
            return [&told, kind](const QString& path, const QString& name) {
                told.append(kind + u' ' + path + u' ' + name);
            };
        };
        connect(&monitor, &VolumeMonitor::didMount, this, keep(u"+"_s));
        connect(&monitor, &VolumeMonitor::didUnmount, this, keep(u"-"_s));
        connect(&monitor, &VolumeMonitor::didRename, this, keep(u"="_s));
        listed = {{u"/"_s, u"/"_s}, {u"/m/c"_s, u"c"_s}, {u"/m/b"_s, u"Label"_s}};
        monitor.listSoon();
        monitor.listSoon();
        QTRY_COMPARE(told, (QStringList{u"- /m/a a"_s, u"+ /m/c c"_s, u"= /m/b Label"_s}));
    }

    /// What another program is about to unmount is told before.
    void beforeUnmount() {
        if (!QAbstractEventDispatcher::instance()->inherits("QEventDispatcherGlib"))
            QSKIP("this event loop is not GLib's, without which nobody tells");
        QVERIFY(mount("/media/going"));
        VolumeMonitor monitor;
        QSignalSpy going(&monitor, &VolumeMonitor::willUnmount);
        GVolumeMonitor* desktop = g_volume_monitor_get();
        const auto tellIsHeard = [&] {
            GList* mounts = g_volume_monitor_get_mounts(desktop);
            for (GList* at = mounts; at != nullptr; at = at->next)
                g_signal_emit_by_name(desktop, "mount-pre-unmount", at->data);
            g_list_free_full(mounts, g_object_unref);
            return !going.isEmpty();
        };
        QTRY_VERIFY(tellIsHeard());
        QCOMPARE(going.constFirst().constFirst().toString(), u"/media/going"_s);
        g_object_unref(desktop);
    }

 private:
    /// A file system that GIO, unlike a tmpfs, takes for a user's.
    bool mount(const QByteArray& folder) {
        _mounted.append(folder);
        return ::mkdir(folder.constData(), 0755) == 0 &&
               ::mount("ramfs", folder.constData(), "ramfs", 0, nullptr) == 0;
    }
    QByteArrayList _mounted;
};

TAVLIN_TEST_MAIN(QCoreApplication, TestVolumeMonitor, MountSandbox::enter())
#include "tst_volume_monitor.moc"
