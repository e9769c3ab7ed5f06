// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Volumes.h"
#include "platform/MountTable.h"
#include "platform/PathBytes.h"
#include "testing/TestMain.h"

using platform::MountEntry;
using platform::Volume;

using namespace Qt::StringLiterals;

class TestVolumes : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void foldersOfTable() {
        const std::vector<QString> folders = platform::mountFoldersFromTable(
            "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
            "24 22 8:2 / /m/a\\040b\\011c\\012d\\134e\\0401\\09\\ rw - vfat /dev/sdb1 rw\n"
            "24 22 8:2 / /m/\xe9t\xe9 rw - vfat /dev/sdb1 rw\n"
            "24 22 8:2\n\n 1 2 3");
        QCOMPARE(folders, (std::vector{u"/"_s, u"/m/a b\tc\nd\\e 1\\09\\"_s,
                                       platform::pathFromBytes("/m/\xe9t\xe9")}));
    }

    void visible_data() {
        const Table<QList<MountEntry>, QList<Volume>> row("table", "volumes");
        const Volume root{u"/"_s, u"/"_s};
        row("the root is there in any case", {}, {root});
        row("the root comes first and cannot be hidden, the others keep their order",
            {{u"/m/z"_s, "z", "", true}, {u"/"_s, "r", "rw,x-gvfs-hide", false}, {u"/m/a"_s, "a", "", true}},
            {root, {u"/m/z"_s, u"z"_s}, {u"/m/a"_s, u"a"_s}});
        row("options have the last word",
            {{u"/m/shown"_s, "s", "rw,x-gvfs-show,nosuid", false},
             {u"/m/hidden"_s, "h", "rw,x-gvfs-hide", true},
             {u"/m/other"_s, "o", "rw,x-gvfs-showy", false}},
            {root, {u"/m/shown"_s, u"shown"_s}});
        row("named by its option, else its label, else its folder",
            {{u"/m/a"_s, "/dev/sdb1", "rw,x-gvfs-name=My%20%C3%84lbum%2C", true},
             {u"/m/b"_s, "/dev/sdb2", "rw,x-gvfs-name=", true},
             {u"/m/c"_s, "/dev/sdb3", "rw", true}},
            {root, {u"/m/a"_s, u"My Älbum,"_s}, {u"/m/b"_s, u"Label"_s}, {u"/m/c"_s, u"c"_s}});
        row("mounted over: once, at its first place, as it was mounted last",
            {{u"/m/a"_s, "/dev/sdb2", "", false}, {u"/m/b"_s, "b", "", true}, {u"/m/a"_s, "x", "", true}},
            {root, {u"/m/a"_s, u"a"_s}, {u"/m/b"_s, u"b"_s}});
    }
    void visible() {
        QFETCH(QList<MountEntry>, table);
        QTEST(platform::visibleVolumes(table, {{"/dev/sdb1", u"Unused"_s}, {"/dev/sdb2", u"Label"_s}}),
              "volumes");
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, TestVolumes)
#include "tst_volumes.moc"
