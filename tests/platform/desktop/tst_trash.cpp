// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Trash.h"
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "testing/MountSandbox.h"
#include "testing/TestHome.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

using platform::moveToTrash;
using platform::restoreFromTrash;
using platform::TrashedItem;
using platform::TrashFailure;

namespace {

const QByteArray content = QByteArrayLiteral("not to be lost\n");

void write(const QByteArray& path, const QByteArray& bytes = content) {
    FILE* stream = std::fopen(path.constData(), "wb");
    QVERIFY2(stream != nullptr, path.constData());
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fclose(stream);
}

QByteArray read(const QByteArray& path) {
    const auto file = platform::openRegularFile(platform::pathFromBytes(path));
    QByteArray bytes(1 << 16, '\0');
    const ssize_t size = ::read(file.get(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    bytes.truncate(qMax<qsizetype>(size, 0));
    return bytes;
}

bool exists(const QByteArray& path) {
    struct stat s {};
    return ::lstat(path.constData(), &s) == 0;
}

bool isEmptyFolder(const QByteArray& path) {
    bool empty = true;
    const auto folder = platform::openFolder(platform::pathFromBytes(path));
    return !folder.isValid() ||
           (platform::visitFolder(folder.get(), [&](auto, auto) { return empty = false; }) && empty);
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
        write(path);
        const auto result = moveToTrash(platform::pathFromBytes(path));
        const auto* item = std::get_if<TrashedItem>(&result);
        QVERIFY(item != nullptr);
        QVERIFY(!exists(path));
        QCOMPARE(read(platform::bytesFromPath(item->trashedPath())), content);
        QCOMPARE(restorePath(*item), path);

        QVERIFY(std::holds_alternative<std::monostate>(restoreFromTrash(*item)));
        QCOMPARE(read(path), content);
        QVERIFY(!exists(platform::bytesFromPath(item->infoPath())));
    }
    void equalNamesStayApart() {
        const QByteArray path = home("same.jpg");
        // Files that some other program left without information are never replaced either.
        QVERIFY(QDir().mkpath(QFile::decodeName(homeTrash() + "/files")));
        for (const char* stray : {"same.2.jpg", "same.4.jpg"})
            write(homeTrash() + "/files/" + stray, "stray");
        QList<TrashedItem> items;
        for (int i = 0; i < 4; ++i) {
            write(path, QByteArray::number(i));
            const auto result = moveToTrash(platform::pathFromBytes(path));
            QVERIFY(std::holds_alternative<TrashedItem>(result));
            items += std::get<TrashedItem>(result);
        }
        QCOMPARE(read(homeTrash() + "/files/same.2.jpg"), QByteArray("stray"));
        for (int i = 0; i < 4; ++i)
            QCOMPARE(read(platform::bytesFromPath(items[i].trashedPath())), QByteArray::number(i));
    }
    void linkItselfGoes() {
        write(home("target"));
        QCOMPARE(::symlink(home("target").constData(), home("link").constData()), 0);
        QCOMPARE(::symlink("nowhere", home("dangling").constData()), 0);
        for (const char* name : {"link", "dangling"}) {
            const auto result = moveToTrash(platform::pathFromBytes(home(name)));
            QVERIFY(std::holds_alternative<TrashedItem>(result));
            QVERIFY(!exists(home(name)));
            QVERIFY(exists(platform::bytesFromPath(std::get<TrashedItem>(result).trashedPath())));
        }
        QCOMPARE(read(home("target")), content);
    }
    void folderGoesWhole() {
        ::mkdir(home("album").constData(), 0755);
        write(home("album/one"));
        const auto result = moveToTrash(platform::pathFromBytes(home("album/")));
        QVERIFY(std::holds_alternative<TrashedItem>(result));
        const auto& item = std::get<TrashedItem>(result);
        QCOMPARE(read(platform::bytesFromPath(item.trashedPath()) + "/one"), content);
        QVERIFY(std::holds_alternative<TrashFailure>(moveToTrash(item.trashedPath())));
        QVERIFY(std::holds_alternative<TrashFailure>(moveToTrash(platform::pathFromBytes(homeTrash()))));
        QVERIFY(std::holds_alternative<std::monostate>(restoreFromTrash(item)));
        QCOMPARE(read(home("album/one")), content);
    }
    void volumes_data() {
        QTest::addColumn<bool>("onDisk");
        QTest::addColumn<int>("sharedMode");  // of an administrator's .Trash; 0: none
        QTest::addColumn<QByteArray>("can");
        const QByteArray user = QByteArray::number(::getuid());
        QTest::newRow("tmpfs") << false << 0 << "/.Trash-" + user;
        QTest::newRow("ext4") << true << 0 << "/.Trash-" + user;
        QTest::newRow("ext4 with a sticky .Trash") << true << 01777 << "/.Trash/" + user;
        QTest::newRow("ext4 with a .Trash that is not sticky") << true << 0777 << "/.Trash-" + user;
    }
    void volumes() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QFETCH(const bool, onDisk);
        QFETCH(const int, sharedMode);
        QFETCH(const QByteArray, can);
        QVERIFY(onDisk ? MountSandbox::mountExt4(volume(), 16) : MountSandbox::mountTmpfs(volume()));
        const QByteArray top = platform::bytesFromPath(volume());
        if (sharedMode != 0) {
            ::mkdir((top + "/.Trash").constData(), 0777);
            ::chmod((top + "/.Trash").constData(), static_cast<mode_t>(sharedMode));
        }
        ::mkdir((top + "/sub").constData(), 0755);
        const QByteArray path = top + "/sub/p\xff%.jpg";
        write(path);
        const auto result = moveToTrash(platform::pathFromBytes(path));
        QVERIFY2(
            std::holds_alternative<TrashedItem>(result),
            qPrintable(std::get_if<TrashFailure>(&result) != nullptr ? std::get<TrashFailure>(result).message
                                                                     : QString()));
        const auto& item = std::get<TrashedItem>(result);
        QCOMPARE(platform::bytesFromPath(item.trashFolder), top + can);
        QCOMPARE(restorePath(item), QByteArray("sub/p\xff%.jpg"));
        QVERIFY(std::holds_alternative<std::monostate>(restoreFromTrash(item)));
        QCOMPARE(read(path), content);
    }
    void faultsLeaveTheFile_data() {
        QTest::addColumn<std::function<void(QString)>>("fault");
        const QByteArray own = ".Trash-" + QByteArray::number(::getuid());
        using Fault = std::function<void(QString)>;
        QTest::newRow("read-only volume")
            << Fault([](QString top) { QVERIFY(MountSandbox::remountReadOnly(top)); });
        QTest::newRow("full volume") << Fault([](QString top) {
            QFile filler(top + u"/filler"_s);
            QVERIFY(filler.open(QFile::WriteOnly));
            const QByteArray block(4096, 'f');
            while (filler.write(block) == block.size() && filler.flush()) {
            }
        });
        QTest::newRow("trash is a link") << Fault([own](QString top) {
            QVERIFY(QDir().mkpath(top + u"/elsewhere"_s));
            QCOMPARE(::symlink("elsewhere", (QFile::encodeName(top) + '/' + own).constData()), 0);
        });
        QTest::newRow("trash is a file")
            << Fault([own](QString top) { write(QFile::encodeName(top) + '/' + own); });
        QTest::newRow("its files folder is a link") << Fault([own](QString top) {
            QVERIFY(QDir(top).mkpath(QString::fromLatin1(own)));
            QCOMPARE(::symlink("/tmp", (QFile::encodeName(top) + '/' + own + "/files").constData()), 0);
        });
    }
    void faultsLeaveTheFile() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QFETCH(const std::function<void(QString)>, fault);
        QVERIFY(MountSandbox::mountExt4(volume(), 4));
        const QByteArray path = platform::bytesFromPath(volume()) + "/kept.jpg";
        write(path);
        fault(volume());
        const auto result = moveToTrash(platform::pathFromBytes(path));
        QVERIFY(std::holds_alternative<TrashFailure>(result));
        QVERIFY(std::get<TrashFailure>(result).error > 0);
        QCOMPARE(read(path), content);
        const QByteArray can =
            platform::bytesFromPath(volume()) + "/.Trash-" + QByteArray::number(::getuid());
        QVERIFY(isEmptyFolder(can + "/info"));
    }
    void foreignFileStays() {
        if (::geteuid() != 0)
            QSKIP("acting as another user needs root");
        // Another user, who may not touch root's file in root's folder.
        const QByteArray path = home("foreign.jpg");
        write(path);
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
    void undoNeverOverwrites() {
        const QByteArray path = home("again.jpg");
        write(path);
        const auto result = moveToTrash(platform::pathFromBytes(path));
        QVERIFY(std::holds_alternative<TrashedItem>(result));
        const auto& item = std::get<TrashedItem>(result);
        write(path, "newer");
        QVERIFY(std::holds_alternative<TrashFailure>(restoreFromTrash(item)));
        QCOMPARE(read(path), QByteArray("newer"));
        QCOMPARE(read(platform::bytesFromPath(item.trashedPath())), content);
        QVERIFY(
            std::holds_alternative<TrashFailure>(moveToTrash(platform::pathFromBytes(home("never-there")))));
    }

 private:
    QByteArray home(const char* name) const { return qgetenv("HOME") + '/' + name; }
    static QByteArray homeTrash() { return qgetenv("XDG_DATA_HOME") + "/Trash"; }
    QString volume() const { return _volume; }
    QString _volume;
    int _number = 0;
};

int main(int argc, char** argv) {
    // As another user, told to remove one file.
    if (argc == 3 && qstrcmp(argv[1], "--trash") == 0) {
        const TestHome home;
        const auto result = moveToTrash(platform::pathFromBytes(argv[2]));
        std::puts(std::holds_alternative<TrashFailure>(result) ? "failure" : "trashed");
        return 0;
    }
    MountSandbox::enter();
    const TestHome home;
    QCoreApplication application(argc, argv);
    TrashTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_trash.moc"
