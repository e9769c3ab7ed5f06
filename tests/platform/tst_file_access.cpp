// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QTest>

#include <atomic>
#include <set>
#include <string>
#include <thread>

using namespace platform;

class FileAccessTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        QVERIFY(QFile(path("file")).open(QIODevice::WriteOnly));
        QVERIFY(QDir().mkdir(path("folder")));
        QVERIFY(QFile::link(path("folder"), path("link to folder")));
        QVERIFY(QFile::link(path("gone"), path("broken link")));
        QCOMPARE(::mkfifo(bytesFromPath(path("fifo")).constData(), 0600), 0);
    }

    void tellsKinds_data() {
        QTest::addColumn<EntryKind>("kind");
        QTest::addColumn<EntryKind>("ownKind");
        QTest::addColumn<bool>("isFolder");
        QTest::addColumn<bool>("canBeRead");
        QTest::newRow("file") << EntryKind::regularFile << EntryKind::regularFile << false << true;
        QTest::newRow("folder") << EntryKind::folder << EntryKind::folder << true << false;
        QTest::newRow("link to folder") << EntryKind::folder << EntryKind::link << true << false;
        QTest::newRow("broken link") << EntryKind::unknown << EntryKind::link << false << false;
        QTest::newRow("fifo") << EntryKind::other << EntryKind::other << false << false;
        QTest::newRow("gone") << EntryKind::unknown << EntryKind::unknown << false << false;
    }
    void tellsKinds() {
        const QString name = path(QTest::currentDataTag());
        const ScopedFileDescriptor folder = openFolder(_folder.path());
        QTEST(fileStatus(name).value_or(FileStatus()).kind, "kind");
        QTEST(fileStatus(name, FollowLinks::no).value_or(FileStatus()).kind, "ownKind");
        QTEST(fileStatusAt(folder.get(), QTest::currentDataTag()).value_or(FileStatus()).kind, "kind");
        QTEST(isExistingFolder(name), "isFolder");
        QTEST(openFolder(name).isValid(), "isFolder");
        QTEST(openRegularFile(name).isValid(), "canBeRead");
    }

    void tellsLateTimesApart() {
        const ScopedFileDescriptor file(::open(bytesFromPath(path("file")).constData(), O_WRONLY));
        const timespec times[]{{1, 0}, {10'000'000'000, 0}};  // in 2286
        QCOMPARE(::futimens(file.get(), times), 0);
        const auto status = fileStatusOfDescriptor(file.get());
        QVERIFY(status);
        if (status->modificationTime < 1e10)
            QSKIP("the file system cannot keep such a time");
        QVERIFY(status->modificationNanoseconds > 9'000'000'000'000'000'000);
    }

    void leavesAFifosWriterAlone() {
        std::atomic<bool> isOpened = false;
        std::thread writer([&] {
            const ScopedFileDescriptor fifo(::open(bytesFromPath(path("fifo")).constData(), O_WRONLY));
            isOpened = true;
        });
        const auto keepsItWaiting = [&] {
            return !openRegularFile(path("fifo")).isValid() && !isOpened;
        };
        bool keeps = true;
        for (int i = 0; i < 5000 && keeps; ++i)
            keeps = keepsItWaiting();
        while (!isOpened)
            ::close(::open(bytesFromPath(path("fifo")).constData(), O_RDONLY | O_NONBLOCK));
        writer.join();
        QVERIFY(keeps);
    }

    /// More names than one call of the system answers, of different lengths, and one that is not UTF-8.
    void listsEveryEntryOnce() {
        const QTemporaryDir big;
        const ScopedFileDescriptor folder = openFolder(big.path());
        std::multiset<std::string> expected{"h\xe4r", ".hidden", "..."};
        for (int i = 0; i < 1000; ++i)
            expected.insert(std::to_string(i) + std::string(static_cast<std::size_t>(i % 200), 'x'));
        for (const std::string& name : expected)
            QVERIFY(ScopedFileDescriptor(::openat(folder.get(), name.c_str(), O_CREAT, 0600)).isValid());
        std::multiset<std::string> found;
        QVERIFY(visitFolder(folder.get(), [&](std::string_view name, EntryKind kind) {
            found.emplace(kind == EntryKind::regularFile || kind == EntryKind::unknown ? name : "wrong");
            return true;
        }));
        QVERIFY(found == expected);
        ::unlinkat(folder.get(), "h\xe4r", 0);  // QTemporaryDir cannot
    }

    void endsListingWhenAskedOrGone() {
        int count = 0;
        const auto stopAtSecond = [&](std::string_view, EntryKind) {
            return ++count < 2;
        };
        QVERIFY(visitFolder(openFolder(_folder.path()).get(), stopAtSecond));
        QCOMPARE(count, 2);
        const ScopedFileDescriptor folder = openFolder(path("folder"));
        QVERIFY(QDir().rmdir(path("folder")));
        QVERIFY(!visitFolder(folder.get(), stopAtSecond));
    }

 private:
    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }
    QTemporaryDir _folder;
};

TAVLIN_TEST_MAIN(QCoreApplication, FileAccessTest)
#include "tst_file_access.moc"
