// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Trash.h"
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "testing/MountSandbox.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QProcess>

#include <filesystem>
#include <functional>

using namespace Qt::StringLiterals;

using platform::moveToTrash;
using platform::restoreFromTrash;
using platform::TrashedItem;
using platform::TrashFailure;

namespace {

const QByteArray content("not to be lost\n");

QByteArray read(const QByteArray& path) {
    const auto descriptor = platform::openRegularFile(platform::pathFromBytes(path));
    QFile file;
    return file.open(descriptor.get(), QFile::ReadOnly) ? file.readAll() : QByteArray();
}

bool exists(const QByteArray& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path.toStdString()));
}

std::optional<TrashedItem> trash(const QByteArray& path) {
    const auto result = moveToTrash(platform::pathFromBytes(path));
    if (const auto* failure = std::get_if<TrashFailure>(&result))
        qInfo() << failure->message;
    const auto* item = std::get_if<TrashedItem>(&result);
    return item ? std::optional(*item) : std::nullopt;
}

bool isRestored(const TrashedItem& item) {
    return std::holds_alternative<std::monostate>(restoreFromTrash(item));
}

QByteArray placeOf(const TrashedItem& item) {
    return platform::bytesFromPath(item.trashedPath());
}

/// The restore path an information file gives, its bytes decoded.
QByteArray restorePath(const TrashedItem& item) {
    const QByteArray info = read(platform::bytesFromPath(item.infoPath()));
    const QList<QByteArray> lines = info.split('\n');
    if (lines.size() != 4 || lines[0] != "[Trash Info]" || !lines[1].startsWith("Path=") ||
        !lines[2].startsWith("DeletionDate=") || lines[2].size() != 13 + 19)
        return "malformed: " + info;
    return QByteArray::fromPercentEncoding(lines[1].sliced(5));
}

}  // namespace

class TrashTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() { _volume = qEnvironmentVariable("HOME") + u"/volume%1"_s.arg(++_number); }
    void cleanup() { MountSandbox::unmount(_volume); }
    void namesSurvive_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("plain") << QByteArray("picture.jpg");
        QTest::newRow("newline, that could forge a line") << QByteArray("a\nPath=forged");
        QTest::newRow("percent and quotes") << QByteArray("100%41 \"x\" 'y'");
        QTest::newRow("not UTF-8") << QByteArray("\xff\xfe latin \xe9.jpg");
        QTest::newRow("UTF-8") << QByteArray("\xc3\xbc\xe2\x82\xac.jpg");
        QTest::newRow("as long as a name can be") << QByteArray(251, 'n') + ".jpg";
        QTest::newRow("leading dot") << QByteArray(".hidden");
    }
    void namesSurvive() {
        QFETCH(const QByteArray, name);
        const QByteArray path = home(name.constData());
        writeFile(path, content);
        const auto item = trash(path);
        QVERIFY(item && !exists(path));
        QCOMPARE(read(placeOf(*item)), content);
        QCOMPARE(restorePath(*item), path);

        QVERIFY(isRestored(*item));
        QCOMPARE(read(path), content);
        QVERIFY(!exists(platform::bytesFromPath(item->infoPath())));
    }
    void equalNamesStayApart() {
        const QByteArray path = home("same.jpg");
        // Files that some other program left without information are never replaced either.
        QVERIFY(QDir().mkpath(QFile::decodeName(homeTrash() + "/files")));
        for (const char* stray : {"same.2.jpg", "same.4.jpg"})
            writeFile(homeTrash() + "/files/" + stray, "stray");
        QList<TrashedItem> items;
        for (int i = 0; i < 4; ++i) {
            writeFile(path, QByteArray::number(i));
            const auto item = trash(path);
            QVERIFY(item);
            items += *item;
        }
        QCOMPARE(read(homeTrash() + "/files/same.2.jpg"), QByteArray("stray"));
        for (int i = 0; i < 4; ++i)
            QCOMPARE(read(placeOf(items[i])), QByteArray::number(i));
    }
    void linkItselfGoes() {
        writeFile(home("target"), content);
        QCOMPARE(::symlink(home("target").constData(), home("link").constData()), 0);
        QCOMPARE(::symlink("nowhere", home("dangling").constData()), 0);
        for (const char* name : {"link", "dangling"}) {
            const auto item = trash(home(name));
            QVERIFY(item && !exists(home(name)) && exists(placeOf(*item)));
        }
        QCOMPARE(read(home("target")), content);
    }
    void folderGoesWhole() {
        ::mkdir(home("album").constData(), 0755);
        writeFile(home("album/one"), content);
        const auto item = trash(home("album/"));
        QVERIFY(item);
        QCOMPARE(read(placeOf(*item) + "/one"), content);
        QVERIFY(!trash(placeOf(*item)) && !trash(homeTrash()));
        QVERIFY(isRestored(*item));
        QCOMPARE(read(home("album/one")), content);
    }
    void volumes_data() {
        // sharedMode: of an administrator's .Trash; 0: none
        const Table<bool, int, QByteArray> row("onDisk", "sharedMode", "can");
        const QByteArray user = QByteArray::number(::getuid());
        row("tmpfs", false, 0, "/.Trash-" + user);
        row("ext4", true, 0, "/.Trash-" + user);
        row("ext4 with a sticky .Trash", true, 01777, "/.Trash/" + user);
        row("ext4 with a .Trash that is not sticky", true, 0777, "/.Trash-" + user);
    }
    void volumes() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QFETCH(const bool, onDisk);
        QFETCH(const int, sharedMode);
        QFETCH(const QByteArray, can);
        QVERIFY(onDisk ? MountSandbox::mountExt4(_volume, 16) : MountSandbox::mountTmpfs(_volume));
        const QByteArray top = platform::bytesFromPath(_volume);
        if (sharedMode != 0) {
            ::mkdir((top + "/.Trash").constData(), 0777);
            ::chmod((top + "/.Trash").constData(), static_cast<mode_t>(sharedMode));
        }
        ::mkdir((top + "/sub").constData(), 0755);
        const QByteArray path = top + "/sub/p\xff%.jpg";
        writeFile(path, content);
        const auto item = trash(path);
        QVERIFY(item);
        QCOMPARE(platform::bytesFromPath(item->trashFolder), top + can);
        QCOMPARE(restorePath(*item), QByteArray("sub/p\xff%.jpg"));
        QVERIFY(isRestored(*item));
        QCOMPARE(read(path), content);
    }
    void faultsLeaveTheFile_data() {
        QTest::addColumn<std::function<void(const QString&)>>("fault");
        const QByteArray own = ".Trash-" + QByteArray::number(::getuid());
        using Fault = std::function<void(const QString&)>;
        const auto row = [](const char* name, Fault fault) {
            QTest::newRow(name) << std::move(fault);
        };
        row("read-only volume", [](auto& top) { QVERIFY(MountSandbox::remountReadOnly(top)); });
        row("full volume", [](auto& top) {
            QFile filler(top + u"/filler"_s);
            QVERIFY(filler.open(QFile::WriteOnly));
            const QByteArray block(4096, 'f');
            while (filler.write(block) == block.size() && filler.flush()) {
            }
        });
        row("trash is a link", [own](auto& top) {
            QVERIFY(QDir().mkpath(top + u"/elsewhere"_s));
            QCOMPARE(::symlink("elsewhere", (QFile::encodeName(top) + '/' + own).constData()), 0);
        });
        row("trash is a file", [own](auto& top) { writeFile(QFile::encodeName(top) + '/' + own, content); });
        row("its files folder is a link", [own](auto& top) {
            QVERIFY(QDir(top).mkpath(QString::fromLatin1(own)));
            QCOMPARE(::symlink("/tmp", (QFile::encodeName(top) + '/' + own + "/files").constData()), 0);
        });
    }
    void faultsLeaveTheFile() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QFETCH(const std::function<void(const QString&)>, fault);
        QVERIFY(MountSandbox::mountExt4(_volume, 4));
        const QByteArray path = platform::bytesFromPath(_volume) + "/kept.jpg";
        writeFile(path, content);
        fault(_volume);
        const auto result = moveToTrash(platform::pathFromBytes(path));
        QVERIFY(std::holds_alternative<TrashFailure>(result));
        QVERIFY(std::get<TrashFailure>(result).error > 0);
        QCOMPARE(read(path), content);
        const QDir can(_volume + u"/.Trash-%1/info"_s.arg(::getuid()));
        QVERIFY(can.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot));
    }
    void foreignFileStays() {
        if (::geteuid() != 0)
            QSKIP("acting as another user needs root");
        // Another user, who may not touch root's file in root's folder.
        const QByteArray path = home("foreign.jpg");
        writeFile(path, content);
        ::chmod(qgetenv("HOME").constData(), 0755);
        QProcess child;
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start(u"setpriv"_s, {u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s,
                                   QCoreApplication::arguments().constFirst(), u"--trash"_s,
                                   platform::pathFromBytes(path)});
        QVERIFY(child.waitForFinished());
        const QByteArray said = child.readAll();
        QVERIFY2(said.contains("failure") || said.contains("ermission denied"), said.constData());
        QCOMPARE(read(path), content);
    }

 private:
    QByteArray home(const char* name) const { return qgetenv("HOME") + '/' + name; }
    static QByteArray homeTrash() { return qgetenv("XDG_DATA_HOME") + "/Trash"; }
    QString _volume;
    int _number = 0;
};

/// As another user, told to remove one file.
static int trashAlone(const char* path) {
    const TestHome home;
    std::puts(trash(path) ? "trashed" : "failure");
    return 0;
}

TAVLIN_TEST_MAIN(QCoreApplication, TrashTest,
                 if (argc == 3 && qstrcmp(argv[1], "--trash") == 0) return trashAlone(argv[2]);
                 MountSandbox::enter())
#include "tst_trash.moc"
