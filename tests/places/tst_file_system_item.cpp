// SPDX-License-Identifier: GPL-3.0-or-later
#include "places/FileSystemItem.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestMain.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QGuiApplication>

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

/// The line numbers of log lines.
QString numbersOf(const QStringList& lines) {
    QStringList numbers;
    for (const QString& line : lines)
        numbers.append(line.section(u'(', 1).section(u')', 0, 0));
    return numbers.join(u' ');
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
    void init() {
        QLocale::setDefault(QLocale(QLocale::English));
        _store.reset(PreferencesDictionary::dictionary());
        appGlobals = _store.get();
        _folder = std::make_unique<QTemporaryDir>();
        FolderReader::shared().setRead(platform::readFolder, 10s);
    }

    void listsVisibleFoldersOnly() {
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
        QCOMPARE(namesOfChildren(*item),
                 (QStringList{u"alpha"_s, u"Beta"_s, u"link"_s, u"package.app"_s, odd}));
        QVERIFY(!item->isLeaf() && item->childAtIndex(4)->isLeaf());
        QCOMPARE(FileSystemItem(u"etc"_s, FileSystemItem::rootItem().get()).fullPath(), u"/etc"_s);
        QCOMPARE(item->childAtIndex(2)->modificationTimeStamp(), 1.5e9 + 0.25);
        QCOMPARE(::rmdir(platform::bytesFromPath(item->childAtIndex(4)->fullPath()).constData()), 0);
    }

    void sortsAsTheSettingSays() {
        const QStringList byName{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
        const QStringList byDate{u"d"_s, u"a"_s, u"c"_s, u"b"_s};
        makeFolders(byName);
        for (const auto& [name, time] :
             {std::pair{u"a"_s, 2000.0}, {u"b"_s, 1000.0}, {u"c"_s, 2000.0}, {u"d"_s, 2000.5}})
            setModificationTime(path(name), time);
        for (const auto& [setting, names] :
             {std::pair{QVariant(), byName}, {0, byName}, {1, byDate}, {u"1"_s, byDate}, {2, byName}}) {
            appGlobals->setObjectForKey(setting, PreferenceKeys::placesBrowserSort);
            QCOMPARE(namesOfChildren(*FileSystemItem::rootItemWithPath(_folder->path())), names);
        }
    }

    void logsWhatItDoes() {
        makeFolders({u"50%"_s, u".git"_s});
        setModificationTime(path(u"50%"_s), 1234.5);
        QVERIFY(QFile::link(u"none"_s, path(u"link"_s)));
        appGlobals->setObjectForKey(1, PreferenceKeys::placesBrowserSort);
        const auto item = FileSystemItem::rootItemWithPath(_folder->path());
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        QCOMPARE(item->numberOfChildren(), 1);
        QStringList lines = log.taken().replaceInStrings(_folder->path(), u"DIR"_s);
        QCOMPARE(numbersOf(lines),
                 u"213 254 257 270 292 254 270 285 86 121 135 146 150 151 152 153 254 270 292 299"_s);
        QCOMPARE(lines[0], u"-[FileSystemItem children] (213): children for directory: DIR"_s);
        QCOMPARE(
            lines[2],
            u"-[FileSystemItem children] (257): DIR/.git is hidden with url property NSURLIsHiddenKey."_s);
        QCOMPARE(
            lines[11],
            u"-[FileSystemItem initWithPath:parent:] (146): fileModificationDate: 1970-01-01T00:20:34.500Z"_s);
        QCOMPARE(lines[13], u"-[FileSystemItem initWithPath:parent:] (151): _name       : 50%"_s);

        FileSystemItem::rootItemWithPath(u"/gone"_s);
        lines = log.taken().filter(u"FileSystemItem"_s);
        QCOMPARE(numbersOf(lines), u"73 77 86 93 121 131 150 151 152 153"_s);
        QCOMPARE(lines[2], u"-[FileSystemItem initWithPath:parent:] (86): initWithPath: /gone parent: 0x0"_s);
    }

 private:
    QString path(const QString& name) const { return _folder->filePath(name); }
    void makeFolders(const QStringList& names) const {
        for (const QString& name : names)
            QVERIFY(QDir().mkdir(path(name)));
    }
    void makeFile(const QString& name) const { QVERIFY(QFile(path(name)).open(QFile::WriteOnly)); }

    std::unique_ptr<PreferencesDictionary> _store;
    std::unique_ptr<QTemporaryDir> _folder;
};

TAVLIN_TEST_MAIN(QGuiApplication, TestFileSystemItem)
#include "tst_file_system_item.moc"
