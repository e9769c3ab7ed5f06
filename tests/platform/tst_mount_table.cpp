// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MountTable.h"
#include "platform/PathBytes.h"
#include "testing/MountSandbox.h"
#include "testing/TestHome.h"

#include <QTest>

#include <algorithm>

using platform::MountTable;

using namespace Qt::StringLiterals;

class TestMountTable : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void foldersOfTable_data();
    void foldersOfTable();
    void folderOfPath_data();
    void folderOfPath();
    void tellsChanges();
};

void TestMountTable::foldersOfTable_data() {
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<QStringList>("folders");
    const QByteArray root = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n";
    QTest::newRow("the root, optional fields or not") << root + "23 22 0:5 / /proc rw - proc proc rw\n"
                                                      << QStringList{u"/"_s, u"/proc"_s};
    QTest::newRow("blank, tab, newline, backslash")
        << QByteArray("24 22 8:2 / /m/a\\040b\\011c\\012d\\134e rw - vfat /dev/sdb1 rw\n")
        << QStringList{u"/m/a b\tc\nd\\e"_s};
    QTest::newRow("bytes that are not UTF-8")
        << QByteArray("24 22 8:2 / /m/\xe9t\xe9 rw - vfat /dev/sdb1 rw\n")
        << QStringList{platform::pathFromBytes("/m/\xe9t\xe9")};
    QTest::newRow("digits after an escape, and what is none")
        << QByteArray("24 22 8:2 / /m/\\0401\\09\\ rw - vfat /dev/sdb1 rw\n")
        << QStringList{u"/m/ 1\\09\\"_s};
    QTest::newRow("lines that are too short") << QByteArray("24 22 8:2\n\n 1 2 3") << QStringList{};
    QTest::newRow("mounted over") << root + root << QStringList{u"/"_s, u"/"_s};
}

void TestMountTable::foldersOfTable() {
    QFETCH(QByteArray, table);
    QFETCH(QStringList, folders);
    const std::vector<QString> found = platform::mountFoldersFromTable(table);
    QCOMPARE(QStringList(found.begin(), found.end()), folders);
}

void TestMountTable::folderOfPath_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("folder");
    QTest::newRow("the folder itself") << u"/media/a"_s << u"/media/a"_s;
    QTest::newRow("below it") << u"/media/a/b/c"_s << u"/media/a"_s;
    QTest::newRow("the deeper of two") << u"/media/a/in/b"_s << u"/media/a/in"_s;
    QTest::newRow("a neighbour whose name begins so") << u"/media/ab"_s << u"/"_s;
    QTest::newRow("no absolute path") << u"media/a"_s << u"/"_s;
}

void TestMountTable::folderOfPath() {
    QFETCH(QString, path);
    QTEST(platform::mountFolderOfPath({u"/"_s, u"/media/a/in"_s, u"/media/a"_s}, path), "folder");
}

void TestMountTable::tellsChanges() {
    if (!MountSandbox::problem().isEmpty())
        QSKIP(qPrintable(MountSandbox::problem()));
    const QTemporaryDir parent;
    const QString folder = parent.filePath(u"new volume"_s);
    MountTable table;
    const auto isListed = [&] {
        const std::vector<QString>& folders = table.mountFolders();
        return std::find(folders.begin(), folders.end(), folder) != folders.end();
    };
    QVERIFY(!isListed());
    const int generation = table.generation();
    QVERIFY(!isListed());
    QCOMPARE(table.generation(), generation);

    QVERIFY(MountSandbox::mountTmpfs(folder));
    QVERIFY(isListed());
    QCOMPARE(table.generation(), generation + 1);
    QVERIFY(MountSandbox::unmount(folder));
    QVERIFY(!isListed());
}

int main(int argc, char** argv) {
    MountSandbox::enter();
    const TestHome home;
    QCoreApplication application(argc, argv);
    TestMountTable test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mount_table.moc"
