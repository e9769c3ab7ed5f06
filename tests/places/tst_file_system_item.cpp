// SPDX-License-Identifier: GPL-3.0-or-later
#include "places/FileSystemItem.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "testing/LogLines.h"
#include "testing/SlowPlace.h"
#include "testing/TestHome.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QGuiApplication>
#include <QRegularExpression>
#include <QTest>

using platform::FolderReader;

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QStringList namesOfChildren(FileSystemItem& item) {
    QStringList names;
    for (int i = 0; i < item.numberOfChildren(); ++i)
        names.append(item.childAtIndex(i)->name());
    return names;
}

void setModificationTime(const QString& path, double seconds) {
    const auto whole = static_cast<time_t>(seconds);
    const timespec time{whole, static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
    const timespec times[2] = {time, time};
    QCOMPARE(::utimensat(AT_FDCWD, platform::bytesFromPath(path).constData(), times, AT_SYMLINK_NOFOLLOW), 0);
}

}  // namespace

class TestFileSystemItem : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init();
    void formsPathsAndNames_data();
    void formsPathsAndNames();
    void listsVisibleFoldersOnly();
    void tellsFoldersFromOthers_data();
    void tellsFoldersFromOthers();
    void readsNothingWithoutPermission();
    void sortsAsTheSettingSays_data();
    void sortsAsTheSettingSays();
    void listsOnce();
    void listsEverythingTheOldWay();
    void logsWhatItDoes();
    void logsComparisons();
    void waitsForNoSlowPlace();
    void losesALateAnswerWithItsItem();
    void keepsAnEqualIcon();

 private:
    QString path(const QString& name) const { return _folder->filePath(name); }
    void makeFolders(const QStringList& names) const {
        for (const QString& name : names)
            QVERIFY(QDir().mkdir(path(name)));
    }
    void makeFile(const QString& name) const {
        QFile file(path(name));
        QVERIFY(file.open(QFile::WriteOnly));
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

void TestFileSystemItem::init() {
    QLocale::setDefault(QLocale(QLocale::English));
    appGlobals = PreferencesDictionary::dictionary();
    _folder = std::make_unique<QTemporaryDir>();
    FolderReader::shared().setRead(platform::readFolder, 10s);
}

void TestFileSystemItem::formsPathsAndNames_data() {
    QTest::addColumn<QString>("parentPath");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("fullPath");
    const QString odd = platform::pathFromBytes("100%\xff\n\"'");
    QTest::newRow("below the root, without a doubled slash") << u"/"_s << u"etc"_s << u"/etc"_s;
    QTest::newRow("below a folder") << u"/usr"_s << u"share"_s << u"/usr/share"_s;
    QTest::newRow("an odd name") << u"/usr"_s << odd << u"/usr/"_s + odd;
}

void TestFileSystemItem::formsPathsAndNames() {
    QFETCH(QString, parentPath);
    QFETCH(QString, entry);
    const auto parent = FileSystemItem::rootItemWithPath(parentPath);
    QCOMPARE(parent->fullPath(), parentPath);
    QCOMPARE(parent->relativePath(), platform::lastPathComponent(parentPath));
    QVERIFY(!parent->name().isEmpty() && parent->parent() == nullptr);

    const FileSystemItem child(entry, parent.get());
    QTEST(child.fullPath(), "fullPath");
    QCOMPARE(child.relativePath(), entry);
    QCOMPARE(child.name(), entry);
    QCOMPARE(child.parent(), parent.get());
    QCOMPARE(child.modificationTimeStamp() > 0, QFile::exists(child.fullPath()));
}

void TestFileSystemItem::listsVisibleFoldersOnly() {
    const QString odd = platform::pathFromBytes("z\xff %\n\"'");
    makeFolders({u"Beta"_s, u"alpha"_s, u".hidden"_s, u"package.app"_s});
    QCOMPARE(::mkdir(platform::bytesFromPath(_folder->path() + u'/' + odd).constData(), 0700), 0);
    makeFile(u"file"_s);
    QCOMPARE(::mkfifo(qPrintable(path(u"pipe"_s)), 0600), 0);
    for (const auto& [target, name] : {std::pair(u"alpha"_s, u"link"_s),
                                       {u"file"_s, u"link to file"_s},
                                       {u"none"_s, u"link to nowhere"_s},
                                       {u"loop"_s, u"loop"_s}})
        QVERIFY(QFile::link(target, path(name)));
    setModificationTime(path(u"link"_s), 1.5e9 + 0.25);

    const auto item = FileSystemItem::rootItemWithPath(_folder->path());
    QCOMPARE(namesOfChildren(*item), (QStringList{u"alpha"_s, u"Beta"_s, u"link"_s, u"package.app"_s, odd}));
    QVERIFY(!item->isLeaf() && item->childAtIndex(4)->isLeaf());
    QCOMPARE(item->childAtIndex(2)->modificationTimeStamp(), 1.5e9 + 0.25);
    QVERIFY_EXCEPTION_THROWN(item->childAtIndex(5), std::out_of_range);
    QCOMPARE(::rmdir(platform::bytesFromPath(item->childAtIndex(4)->fullPath()).constData()), 0);
}

void TestFileSystemItem::tellsFoldersFromOthers_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("count");
    QTest::newRow("nothing there") << u"gone"_s << -1;
    QTest::newRow("a file") << u"file"_s << -1;
    QTest::newRow("a link that loops") << u"loop"_s << -1;
    QTest::newRow("an empty folder") << u"empty"_s << 0;
    QTest::newRow("a folder with hidden folders and files") << u"full"_s << 0;
}

void TestFileSystemItem::tellsFoldersFromOthers() {
    QFETCH(QString, name);
    makeFolders({u"empty"_s, u"full"_s, u"full/.hidden"_s});
    makeFile(u"file"_s);
    makeFile(u"full/file"_s);
    QVERIFY(QFile::link(u"loop"_s, path(u"loop"_s)));
    const auto item = FileSystemItem::rootItemWithPath(path(name));
    QTEST(item->numberOfChildren(), "count");
    QVERIFY(item->isLeaf());
    if (item->numberOfChildren() == -1)
        QVERIFY_EXCEPTION_THROWN(item->childAtIndex(0), std::bad_variant_access);
}

void TestFileSystemItem::readsNothingWithoutPermission() {
    constexpr uid_t nobody = 65534;
    QTemporaryDir ours(u"/tmp/tavlin-test-XXXXXX"_s);
    const QString locked = ours.filePath(u"locked"_s);
    QVERIFY(QDir().mkpath(locked + u"/inside"_s));
    const bool isRoot = ::geteuid() == 0;
    if (isRoot)
        QCOMPARE(::chown(qPrintable(ours.path()), nobody, nobody), 0);
    QCOMPARE(::chmod(qPrintable(locked), 0), 0);
    QCOMPARE(isRoot ? ::seteuid(nobody) : 0, 0);
    const auto item = FileSystemItem::rootItemWithPath(locked);
    const int count = item->numberOfChildren();
    QCOMPARE(isRoot ? ::seteuid(0) : 0, 0);
    QCOMPARE(::chmod(qPrintable(locked), 0700), 0);
    QCOMPARE(count, 0);
    QVERIFY(item->modificationTimeStamp() > 0);
}

void TestFileSystemItem::sortsAsTheSettingSays_data() {
    QTest::addColumn<QVariant>("setting");
    QTest::addColumn<QStringList>("names");
    const QStringList byName{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
    QTest::newRow("absent") << QVariant() << byName;
    QTest::newRow("0") << QVariant(0) << byName;
    QTest::newRow("1: newest first, equal ones as listed")
        << QVariant(1) << QStringList{u"d"_s, u"a"_s, u"c"_s, u"b"_s};
    QTest::newRow("1, from the file") << QVariant(u"1"_s) << QStringList{u"d"_s, u"a"_s, u"c"_s, u"b"_s};
    QTest::newRow("2") << QVariant(2) << byName;
}

void TestFileSystemItem::sortsAsTheSettingSays() {
    QFETCH(QVariant, setting);
    makeFolders({u"a"_s, u"b"_s, u"c"_s, u"d"_s});
    setModificationTime(path(u"a"_s), 2000);
    setModificationTime(path(u"b"_s), 1000);
    setModificationTime(path(u"c"_s), 2000);
    setModificationTime(path(u"d"_s), 2000.5);
    appGlobals->setObjectForKey(setting, PreferenceKeys::placesBrowserSort);
    const auto item = FileSystemItem::rootItemWithPath(_folder->path());
    QTEST(namesOfChildren(*item), "names");
}

void TestFileSystemItem::listsOnce() {
    makeFolders({u"a"_s});
    const auto item = FileSystemItem::rootItemWithPath(_folder->path());
    QCOMPARE(namesOfChildren(*item), QStringList{u"a"_s});
    const auto child = item->childAtIndex(0);
    makeFolders({u"b"_s});
    QCOMPARE(namesOfChildren(*item), QStringList{u"a"_s});
    QCOMPARE(item->childAtIndex(0), child);
    QCOMPARE(namesOfChildren(*FileSystemItem::rootItemWithPath(_folder->path())),
             (QStringList{u"a"_s, u"b"_s}));
}

void TestFileSystemItem::listsEverythingTheOldWay() {
    makeFolders({u"folder"_s, u".hidden"_s});
    makeFile(u"file"_s);
    appGlobals->setObjectForKey(1, PreferenceKeys::placesBrowserSort);
    const auto item = FileSystemItem::rootItemWithPath(_folder->path());
    item->children_ORIGINAL();
    QCOMPARE(item->numberOfChildren(), 3);
}

void TestFileSystemItem::logsWhatItDoes() {
    makeFolders({u"50%"_s, u".git"_s});
    setModificationTime(path(u"50%"_s), 1234.5);
    setModificationTime(path(u".git"_s), 2000);
    setModificationTime(_folder->path(), 86400);
    QVERIFY(QFile::link(u"none"_s, path(u"link"_s)));
    appGlobals->setObjectForKey(1, PreferenceKeys::placesBrowserSort);
    const auto item = FileSystemItem::rootItemWithPath(_folder->path());
    appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    LogLines log;
    const QString address = logging::formatted(u"%p", {logging::describeAddress(item.get())});
    QCOMPARE(item->numberOfChildren(), 1);
    QStringList expected{
        u"-[FileSystemItem children] (213): children for directory: DIR"_s,
        u"-[FileSystemItem children] (254): isHidden: 1"_s,
        u"-[FileSystemItem children] (257): DIR/.git is hidden with url property NSURLIsHiddenKey."_s,
        u"-[FileSystemItem children] (270): isPackageValue: 0"_s,
        u"-[FileSystemItem children] (292): Not adding this item."_s,
        u"-[FileSystemItem children] (254): isHidden: 0"_s,
        u"-[FileSystemItem children] (270): isPackageValue: 0"_s,
        u"-[FileSystemItem children] (285): Adding this item."_s,
        u"-[FileSystemItem initWithPath:parent:] (86): initWithPath: 50% parent: "_s + address,
        u"-[FileSystemItem initWithPath:parent:] (121): NSURLLocalizedLabelKey returned nothing for DIR/50%"_s,
        u"-[FileSystemItem initWithPath:parent:] (135): fileAttributes: {NSFileModificationDate = "
        "1970-01-01T00:20:34.500Z; }"_s,
        u"-[FileSystemItem initWithPath:parent:] (146): fileModificationDate: 1970-01-01T00:20:34.500Z"_s,
        u"-[FileSystemItem initWithPath:parent:] (150): relativePath: 50%"_s,
        u"-[FileSystemItem initWithPath:parent:] (151): _name       : 50%"_s,
        u"-[FileSystemItem initWithPath:parent:] (152): _fullPath   : DIR/50%"_s,
        u"-[FileSystemItem initWithPath:parent:] (153): _modificationTimeStamp: 1234"_s,
        u"-[FileSystemItem children] (254): isHidden: 0"_s,
        u"-[FileSystemItem children] (270): isPackageValue: 0"_s,
        u"-[FileSystemItem children] (292): Not adding this item."_s,
        u"-[FileSystemItem children] (299): Sort by modification date!"_s,
    };
    expected.replaceInStrings(u"DIR"_s, _folder->path());
    QCOMPARE(log.taken(), expected);

    FileSystemItem::rootItem();
    QStringList lines = log.taken();
    QCOMPARE(lines.first(), u"+[FileSystemItem rootItem] (62): Hey"_s);
    const auto gone = FileSystemItem::rootItemWithPath(u"/gone"_s);
    expected =
        QStringList{u"+[FileSystemItem rootItemWithPath:] (73): Hey, path: /gone"_s,
                    u"+[FileSystemItem rootItemWithPath:] (77): Hey, initWithPath: /gone"_s,
                    u"-[FileSystemItem initWithPath:parent:] (86): initWithPath: /gone parent: 0x0"_s,
                    u"-[FileSystemItem initWithPath:parent:] (93): No parent"_s,
                    u"-[FileSystemItem initWithPath:parent:] (121): NSURLLocalizedLabelKey returned nothing "
                    "for /gone"_s,
                    u"-[FileSystemItem initWithPath:parent:] (131): Warning: fileAttributes are nil!"_s,
                    u"-[FileSystemItem initWithPath:parent:] (150): relativePath: gone"_s};
    QCOMPARE(log.taken().filter(QRegularExpression(u"FileSystemItem"_s)).mid(0, expected.size()), expected);
}

void TestFileSystemItem::logsComparisons() {
    makeFolders({u"new"_s, u"old"_s});
    setModificationTime(path(u"new"_s), 2000);
    setModificationTime(path(u"old"_s), 1000);
    const FileSystemItem newer(path(u"new"_s), nullptr);
    const FileSystemItem older(path(u"old"_s), nullptr);
    const FileSystemItem unknown(path(u"gone"_s), nullptr);
    appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    LogLines log;
    QCOMPARE(newer.compareModificationTimeStamp(older), -1);
    QCOMPARE(older.compareModificationTimeStamp(newer), 1);
    QCOMPARE(older.compareModificationTimeStamp(older), 0);
    QCOMPARE(older.compareModificationTimeStamp(unknown), -1);
    const QString method = u"-[FileSystemItem compareModificationTimeStamp:] "_s;
    QCOMPARE(
        log.taken().mid(0, 9),
        (QStringList{method + u"(375): myTimeStamp: 2000 vs. 1000"_s,
                     method + u"(376): myTimeStamp: new vs. old"_s, method + u"(386): NSOrderedAscending!"_s,
                     method + u"(375): myTimeStamp: 1000 vs. 2000"_s,
                     method + u"(376): myTimeStamp: old vs. new"_s, method + u"(391): NSOrderedDescending!"_s,
                     method + u"(375): myTimeStamp: 1000 vs. 1000"_s,
                     method + u"(376): myTimeStamp: old vs. old"_s, method + u"(381): NSOrderedSame!"_s}));
}

void TestFileSystemItem::waitsForNoSlowPlace() {
    makeFolders({u"slow"_s, u"slow/sub"_s, u"slow/sub/deep"_s});
    SlowPlace slow(path(u"slow"_s));
    QCoreApplication::processEvents();
    FolderReader::shared().setRead(slow.read());
    const auto item = FileSystemItem::rootItemWithPath(path(u"slow"_s));
    QList<FileSystemItem*> arrived;
    item->setChildrenArrivedHandler(std::make_shared<FileSystemItem::ChildrenArrived>(
        [&](FileSystemItem& which) { arrived.append(&which); }));
    QCOMPARE(item->modificationTimeStamp(), 0.0);
    QCOMPARE(item->numberOfChildren(), 0);
    QVERIFY(item->isAwaitingChildren());

    slow.answer();
    QTRY_COMPARE(arrived, QList<FileSystemItem*>{item.get()});
    QVERIFY(!item->isAwaitingChildren());
    QCOMPARE(namesOfChildren(*item), QStringList{u"sub"_s});

    SlowPlace slower(path(u"slow"_s));
    FolderReader::shared().setRead(slower.read());
    FileSystemItem& sub = *item->childAtIndex(0);
    QCOMPARE(sub.numberOfChildren(), 0);
    slower.answer();
    QTRY_COMPARE(arrived, (QList<FileSystemItem*>{item.get(), &sub}));
    QCOMPARE(namesOfChildren(sub), QStringList{u"deep"_s});
}

void TestFileSystemItem::losesALateAnswerWithItsItem() {
    makeFolders({u"slow"_s, u"last"_s});
    SlowPlace slow(_folder->path());
    FolderReader::shared().setRead(slow.read());
    int arrived = 0;
    const auto handler =
        std::make_shared<FileSystemItem::ChildrenArrived>([&](FileSystemItem&) { ++arrived; });
    auto item = FileSystemItem::rootItemWithPath(path(u"slow"_s));
    const auto last = FileSystemItem::rootItemWithPath(path(u"last"_s));
    for (const auto& each : {item, last}) {
        each->setChildrenArrivedHandler(handler);
        QCOMPARE(each->numberOfChildren(), 0);
    }
    item.reset();
    slow.answer();
    QTRY_VERIFY(!last->isAwaitingChildren());
    QCOMPARE(arrived, 1);
}

void TestFileSystemItem::keepsAnEqualIcon() {
    FileSystemItem item(u"/"_s, nullptr);
    const QIcon picture(QPixmap(1, 1));
    const auto first = std::make_shared<platform::Image>(picture);
    item.setNodeIcon(first);
    item.setNodeIcon(std::make_shared<platform::Image>(picture));
    QCOMPARE(item.nodeIcon(), first);
    const auto other = std::make_shared<platform::Image>(QIcon(QPixmap(1, 1)));
    item.setNodeIcon(other);
    QCOMPARE(item.nodeIcon(), other);
    item.setNodeIcon(nullptr);
    QVERIFY(item.nodeIcon() == nullptr);
}

TAVLIN_TEST_MAIN(QGuiApplication, TestFileSystemItem)
#include "tst_file_system_item.moc"
