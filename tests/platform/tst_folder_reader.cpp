// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderReader.h"
#include "platform/PathBytes.h"
#include "platform/VolumeWorkers.h"
#include "testing/SlowPlace.h"
#include "testing/TestHome.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <stdexcept>

using platform::FolderContents;
using platform::FolderDetail;
using platform::FolderReader;
using platform::readFolder;
using platform::VolumeWorkers;

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QStringList names(const FolderContents& contents) {
    QStringList list;
    for (const auto& entry : contents.entries)
        list.append(entry.name);
    return list;
}

void makeFile(const QString& path) {
    ::close(::open(platform::bytesFromPath(path).constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
}

void makeFolder(const QString& path) {
    ::mkdir(platform::bytesFromPath(path).constData(), 0700);
}

void makeLink(const char* target, const QString& path) {
    QCOMPARE(::symlink(target, platform::bytesFromPath(path).constData()), 0);
}

}  // namespace

class TestFolderReader : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void visitsEveryKindOfEntry();
    void ordersByLanguage();
    void tellsWhatIsNoFolder_data();
    void tellsWhatIsNoFolder();
    void answersAtOnce();
    void waitsOnceInATurn();
    void boundsItsWorkers();
    void asksAnotherVolumeWhereALinkLeads();
    void visitsOnceForAllWhoWait();
    void leavesOutWhatNobodyWaitsFor();
    void survivesItsHungWorker();
    void answersNeutrallyAfterAnException();
};

void TestFolderReader::visitsEveryKindOfEntry() {
    const QTemporaryDir home;
    const auto path = [&](const QString& name) {
        return home.filePath(name);
    };
    const QString odd = platform::pathFromBytes(
        "od\xff"
        "d\n50%\"'");
    makeFolder(home.path() + u'/' + odd);
    makeFolder(path(u".hidden"_s));
    makeFile(path(u"file"_s));
    ::mkfifo(qPrintable(path(u"pipe"_s)), 0600);
    makeLink(".hidden", path(u"to folder"_s));
    makeLink("file", path(u"to file"_s));
    makeLink("nowhere", path(u"to nowhere"_s));
    makeLink("to itself", path(u"to itself"_s));
    const timespec times[2] = {{1000, 0}, {1000, 500'000'000}};
    ::utimensat(AT_FDCWD, qPrintable(path(u"to folder"_s)), times, AT_SYMLINK_NOFOLLOW);

    const FolderContents all = readFolder(home.path(), FolderDetail::everyEntry);
    QVERIFY(all.isFolder && all.isListed);
    QSet<QString> existing, folders, hidden;
    for (const auto& entry : all.entries) {
        QVERIFY(entry.modificationTime.has_value());
        if (entry.exists)
            existing.insert(entry.name);
        if (entry.isFolder)
            folders.insert(entry.name);
        if (entry.isHidden)
            hidden.insert(entry.name);
    }
    QCOMPARE(all.entries.size(), 8u);
    QCOMPARE(existing,
             (QSet<QString>{odd, u".hidden"_s, u"file"_s, u"pipe"_s, u"to folder"_s, u"to file"_s}));
    QCOMPARE(folders, (QSet<QString>{odd, u".hidden"_s, u"to folder"_s}));
    QCOMPARE(hidden, QSet<QString>{u".hidden"_s});

    const FolderContents subfolders = readFolder(home.path(), FolderDetail::subfolders);
    QCOMPARE(names(subfolders), (QStringList{odd, u"to folder"_s}));
    QCOMPARE(*subfolders.entries[1].modificationTime, 1000.5);
    QCOMPARE(::rmdir(platform::bytesFromPath(home.path() + u'/' + odd).constData()), 0);
}

void TestFolderReader::ordersByLanguage() {
    QLocale::setDefault(QLocale(u"de_DE"_s));
    const QTemporaryDir home;
    for (const QString& name : {u"Zebra"_s, u"apfel"_s, u"Öl"_s, u"Birne"_s, u"oder"_s})
        makeFolder(home.filePath(name));
    QCOMPARE(names(readFolder(home.path(), FolderDetail::subfolders)),
             (QStringList{u"apfel"_s, u"Birne"_s, u"oder"_s, u"Öl"_s, u"Zebra"_s}));
}

void TestFolderReader::tellsWhatIsNoFolder_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("exists");
    QTest::newRow("nothing") << u"none"_s << false;
    QTest::newRow("a file") << u"file"_s << true;
    QTest::newRow("a link to nowhere") << u"link"_s << true;
}

void TestFolderReader::tellsWhatIsNoFolder() {
    QFETCH(QString, name);
    const QTemporaryDir home;
    makeFile(home.filePath(u"file"_s));
    makeLink("nowhere", home.filePath(u"link"_s));
    const FolderContents contents = readFolder(home.filePath(name), FolderDetail::everyEntry);
    QVERIFY(!contents.isFolder && !contents.isListed);
    QTEST(contents.modificationTime.has_value(), "exists");
}

void TestFolderReader::answersAtOnce() {
    const QTemporaryDir home;
    makeFolder(home.filePath(u"sub"_s));
    FolderReader reader;
    reader.setRead(readFolder, 10s);
    for (int i = 0; i < 100; ++i) {
        const auto contents = reader.contents(home.path(), FolderDetail::subfolders);
        QVERIFY(contents);
        QCOMPARE(names(*contents), QStringList{u"sub"_s});
    }
}

void TestFolderReader::waitsOnceInATurn() {
    SlowPlace slow;
    FolderReader reader;
    reader.setRead(slow.read());
    const auto owner = std::make_shared<int>();
    int delivered = 0;
    const auto ask = [&](const QString& path) {
        QElapsedTimer timer;
        timer.start();
        const auto contents = reader.contents(path, FolderDetail::subfolders,
                                              {owner, [&](const FolderContents& late) {
                                                   QCOMPARE(QThread::currentThread(), qApp->thread());
                                                   QVERIFY(late.isFolder);
                                                   ++delivered;
                                               }});
        return contents ? -1 : timer.elapsed();
    };
    const qint64 first = ask(u"/usr"_s);
    QVERIFY2(first >= 39, "the place was not given its time");
    qint64 further = first;
    for (const QString& path : {u"/usr/bin"_s, u"/proc/sys"_s, u"/proc/fs"_s, u"/usr/lib"_s})
        further = std::min(further, ask(path));
    QVERIFY2(further >= 0 && further < 20, "a turn waited twice");

    slow.answer();
    QCOMPARE(delivered, 0);
    QTRY_COMPARE(delivered, 5);
}

void TestFolderReader::boundsItsWorkers() {
    SlowPlace slow;
    FolderReader reader;
    reader.setRead(slow.read());
    const auto owner = std::make_shared<int>();
    int delivered = 0;
    for (int i = 0; i < 20; ++i) {
        for (const QString& folder : {u"/usr/"_s, u"/proc/"_s})
            QVERIFY(!reader.contents(folder + QString::number(i), FolderDetail::status,
                                     {owner, [&](const FolderContents&) {
                                          ++delivered;
                                      }}));
        QCoreApplication::processEvents();
    }
    const int most = 2 * static_cast<int>(VolumeWorkers::mostWorkers);
    QTRY_COMPARE(slow.mostAtOnce(), most);
    slow.answer();
    QTRY_COMPARE(delivered, 40);
    QCOMPARE(slow.mostAtOnce(), most);
}

void TestFolderReader::asksAnotherVolumeWhereALinkLeads() {
    const QTemporaryDir home;
    makeFolder(home.filePath(u"folder"_s));
    makeLink("/proc/sys", home.filePath(u"link"_s));
    SlowPlace slow(u"/proc"_s);
    FolderReader reader;
    reader.setRead(slow.read());
    const auto owner = std::make_shared<int>();
    for (std::size_t i = 0; i < VolumeWorkers::mostWorkers; ++i)
        QVERIFY(!reader.contents(u"/proc/"_s + QString::number(i), FolderDetail::status,
                                 {owner, [](const FolderContents&) {
                                  }}));
    reader.setRead(slow.read(), 10s);
    const auto withoutLink = reader.contents(home.path(), FolderDetail::subfolders);
    QVERIFY(withoutLink);
    QCOMPARE(names(*withoutLink), QStringList{u"folder"_s});

    slow.answer();
    QTRY_COMPARE(names(*reader.contents(home.path(), FolderDetail::subfolders)),
                 (QStringList{u"folder"_s, u"link"_s}));
}

void TestFolderReader::visitsOnceForAllWhoWait() {
    SlowPlace slow;
    FolderReader reader;
    reader.setRead(slow.read());
    const auto owner = std::make_shared<int>();
    int delivered = 0;
    const FolderReader::LateAnswer late{owner, [&](const FolderContents&) {
                                            ++delivered;
                                        }};
    QVERIFY(!reader.contents(u"/usr"_s, FolderDetail::status, late));
    for (int i = 0; i < 5; ++i)
        QVERIFY(!reader.contents(u"/usr/bin"_s, FolderDetail::status, late));
    slow.answer();
    QTRY_COMPARE(delivered, 6);
    QCOMPARE(slow.visited(), (QStringList{u"/usr"_s, u"/usr/bin"_s}));
}

void TestFolderReader::leavesOutWhatNobodyWaitsFor() {
    SlowPlace slow;
    FolderReader reader;
    reader.setRead(slow.read());
    const auto owner = std::make_shared<int>();
    auto goner = std::make_shared<int>();
    int delivered = 0;
    int deliveredToNobody = 0;
    const auto ask = [&](const QString& path, const std::shared_ptr<int>& who, int& count) {
        reader.contents(path, FolderDetail::status, {who, [&](const FolderContents&) {
                                                         ++count;
                                                     }});
    };
    QStringList expected;
    for (std::size_t i = 0; i < VolumeWorkers::mostWorkers; ++i) {
        expected.append(u"/running"_s + QString::number(i));
        ask(expected.last(), goner, deliveredToNobody);
    }
    QTRY_COMPARE(slow.visited().size(), expected.size());
    ask(u"/queued"_s, goner, deliveredToNobody);
    ask(u"/wanted"_s, owner, delivered);
    goner.reset();
    slow.answer();
    QTRY_COMPARE(delivered, 1);
    QCOMPARE(deliveredToNobody, 0);
    QStringList visited = slow.visited();
    visited.sort();
    QCOMPARE(visited, expected + QStringList{u"/wanted"_s});
}

void TestFolderReader::survivesItsHungWorker() {
    std::atomic_bool isFinished = false;
    const auto slow = std::make_shared<SlowPlace>();
    const auto owner = std::make_shared<int>();
    int delivered = 0;
    {
        FolderReader reader;
        reader.setRead([slow, &isFinished, read = slow->read()](const auto&... arguments) {
            const FolderContents contents = read(arguments...);
            isFinished = true;
            return contents;
        });
        QVERIFY(!reader.contents(u"/usr"_s, FolderDetail::status, {owner, [&](const FolderContents&) {
                                                                       ++delivered;
                                                                   }}));
    }
    slow->answer();
    QTRY_VERIFY(isFinished);
    QCoreApplication::processEvents();
    QCOMPARE(delivered, 0);
}

void TestFolderReader::answersNeutrallyAfterAnException() {
    FolderReader reader;
    reader.setRead([](const auto&...) -> FolderContents { throw std::runtime_error("disk"); }, 10s);
    for (int i = 0; i < 2; ++i) {
        QTest::ignoreMessage(QtWarningMsg, "asking a volume ended early: disk");
        const auto contents = reader.contents(u"/any"_s, FolderDetail::status);
        QVERIFY(contents && !contents->isFolder);
    }
}

TAVLIN_TEST_MAIN(QCoreApplication, TestFolderReader)
#include "tst_folder_reader.moc"
