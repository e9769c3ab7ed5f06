// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <QTest>

#include <algorithm>
#include <cerrno>
#include <set>
#include <string>

using namespace platform;

class FileAccessTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void tellsKinds_data();
    void tellsKinds();
    void tellsTimeAndSizeExactly();
    void listsEveryEntryOnce();
    void stopsListingWhenAsked();
    void failsToListAFolderThatWent();

 private:
    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }
    QTemporaryDir _folder;
};

void FileAccessTest::initTestCase() {
    QVERIFY(QFile(path("file")).open(QIODevice::WriteOnly));
    QVERIFY(QDir().mkdir(path("folder")));
    QVERIFY(QFile::link(path("folder"), path("link to folder")));
    QVERIFY(QFile::link(path("file"), path("link to file")));
    QVERIFY(QFile::link(path("gone"), path("broken link")));
    QCOMPARE(::mkfifo(bytesFromPath(path("fifo")).constData(), 0600), 0);
}

void FileAccessTest::tellsKinds_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("ownKind");
    QTest::addColumn<bool>("isFolder");
    QTest::addColumn<bool>("canBeRead");
    const auto row = [](const char* name, EntryKind kind, EntryKind ownKind, bool isFolder, bool canBeRead) {
        QTest::newRow(name) << int(kind) << int(ownKind) << isFolder << canBeRead;
    };
    // `unknown` stands for no answer.
    row("file", EntryKind::regularFile, EntryKind::regularFile, false, true);
    row("folder", EntryKind::folder, EntryKind::folder, true, false);
    row("link to folder", EntryKind::folder, EntryKind::link, true, false);
    row("link to file", EntryKind::regularFile, EntryKind::link, false, true);
    row("broken link", EntryKind::unknown, EntryKind::link, false, false);
    row("fifo", EntryKind::other, EntryKind::other, false, false);
    row("gone", EntryKind::unknown, EntryKind::unknown, false, false);
}

void FileAccessTest::tellsKinds() {
    const QString name = path(QTest::currentDataTag());
    QTEST(int(fileStatus(name).value_or(FileStatus()).kind), "kind");
    QTEST(int(fileStatus(name, FollowLinks::no).value_or(FileStatus()).kind), "ownKind");
    const ScopedFileDescriptor folder = openFolder(_folder.path());
    QTEST(
        int(fileStatusAt(folder.get(), QTest::currentDataTag(), FollowLinks::no).value_or(FileStatus()).kind),
        "ownKind");
    QTEST(isExistingFolder(name), "isFolder");
    QTEST(openFolder(name).isValid(), "isFolder");
    errno = 0;
    QTEST(openRegularFile(name).isValid(), "canBeRead");
    QFETCH(bool, canBeRead);
    QCOMPARE(errno == 0, canBeRead);
}

void FileAccessTest::tellsTimeAndSizeExactly() {
    const ScopedFileDescriptor file(::open(bytesFromPath(path("file")).constData(), O_WRONLY | O_CLOEXEC));
    QCOMPARE(::write(file.get(), "12345", 5), 5);
    const timespec times[]{{1, 0}, {1'700'000'000, 250'000'001}};
    QCOMPARE(::futimens(file.get(), times), 0);
    const auto status = fileStatusOfDescriptor(file.get());
    QVERIFY(status);
    QCOMPARE(status->modificationNanoseconds, 1'700'000'000'250'000'001);
    QCOMPARE(status->modificationTime, 1'700'000'000.25);
    QCOMPARE(status->size, 5U);
    struct stat expected {};
    QCOMPARE(::fstat(file.get(), &expected), 0);
    QCOMPARE(status->inode, expected.st_ino);
    QCOMPARE(status->device, (std::uint64_t{major(expected.st_dev)} << 32) | minor(expected.st_dev));
}

/// More names than one call of the system answers, of different lengths, and names that are not UTF-8.
void FileAccessTest::listsEveryEntryOnce() {
    const QTemporaryDir big;
    const ScopedFileDescriptor folder = openFolder(big.path());
    std::multiset<std::string> expected{"h\xe4r", ".hidden", "..."};
    for (int i = 0; i < 3000; ++i)
        expected.insert(std::to_string(i) + std::string(static_cast<std::size_t>(i % 200), 'x'));
    for (const std::string& name : expected)
        QVERIFY(
            ScopedFileDescriptor(::openat(folder.get(), name.c_str(), O_CREAT | O_WRONLY, 0600)).isValid());
    std::multiset<std::string> found;
    QVERIFY(visitFolder(folder.get(), [&](std::string_view name, EntryKind kind) {
        found.emplace(kind == EntryKind::regularFile || kind == EntryKind::unknown ? name : "wrong kind");
        return true;
    }));
    QVERIFY(found == expected);
    ::unlinkat(folder.get(), "h\xe4r", 0);  // QTemporaryDir cannot
}

void FileAccessTest::stopsListingWhenAsked() {
    int count = 0;
    QVERIFY(visitFolder(openFolder(_folder.path()).get(),
                        [&](std::string_view, EntryKind) { return ++count < 2; }));
    QCOMPARE(count, 2);
}

void FileAccessTest::failsToListAFolderThatWent() {
    const QString name = path("going");
    QVERIFY(QDir().mkdir(name));
    const ScopedFileDescriptor folder = openFolder(name);
    QVERIFY(QDir().rmdir(name));
    QVERIFY(!visitFolder(folder.get(), [](std::string_view, EntryKind) { return true; }));
    QVERIFY(!visitFolder(-1, [](std::string_view, EntryKind) { return true; }));
}

TAVLIN_TEST_MAIN(QCoreApplication, FileAccessTest)
#include "tst_file_access.moc"
