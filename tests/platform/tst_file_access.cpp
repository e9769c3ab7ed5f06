// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "testing/TestMain.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;
using namespace platform;

/// Files and the bytes of their paths.
class FileAccessTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        QVERIFY(QFile(path("file")).open(QIODevice::WriteOnly));
        QCOMPARE(::mkfifo(bytesFromPath(path("fifo")).constData(), 0600), 0);
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

    void goesUpWhereALinkLeads() {
        const QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(u"data/trip"_s));
        QVERIFY(QFile::link(folder.filePath(u"data/trip"_s), folder.filePath(u"link"_s)));
        const QString real = QFileInfo(folder.path()).canonicalFilePath();
        QCOMPARE(plainPath(folder.filePath(u"link//.././x.jpg"_s)), real + u"/data/x.jpg"_s);
    }

    void showsWhatItKeeps_data() {
        const Table<QByteArray, QString> row("bytes", "shown");
        row("UTF-8", QByteArray("/\xc3\xa4\xf0\x9f\x92\xaf"), u"/ä\U0001F4AF"_s);
        row("Latin-1", QByteArray("h\xe4r"), u"h\uFFFDr"_s);
        row("after a pair", QByteArray("\xf0\x9f\x92\xaf\xaf"), u"\U0001F4AF\uFFFD"_s);
        row("overlong slash", QByteArray("\xc0\xaf"), u"\uFFFD\uFFFD"_s);
        row("surrogate", QByteArray("\xed\xb3\xa4"), u"\uFFFD\uFFFD\uFFFD"_s);
        row("control characters", QByteArray("a\nb\x7f"), u"a b "_s);
    }
    void showsWhatItKeeps() {
        QFETCH(QByteArray, bytes);
        QTEST(displayablePath(pathFromBytes(bytes)), "shown");
        QCOMPARE(bytesFromPath(pathFromBytes(bytes)), bytes);
    }

    /// Every pair of bytes, alone and at the end and the start of longer sequences.
    void losesNoPairOfBytes() {
        for (int pair = 0; pair < 0x10000; ++pair) {
            const QByteArray two = QByteArray(1, static_cast<char>(pair >> 8)) + static_cast<char>(pair);
            for (const QByteArray& bytes : {two, "\xf0\x9f\x92\xaf" + two, two + "\x9f\x92\xaf"})
                QVERIFY2(bytesFromPath(pathFromBytes(bytes)) == bytes, bytes.toHex().constData());
        }
    }

    void travelsThroughFileUris() {
        const QByteArray bytes("/h\xe4r b%#?[x];\xc3\xa4~!'");
        const QByteArray uri = fileUriFromPath(pathFromBytes(bytes));
        QCOMPARE(uri, QByteArray("file:///h%E4r%20b%25%23%3F%5Bx%5D%3B%C3%A4~!'"));
        QCOMPARE(bytesFromPath(pathFromFileUri(uri)), bytes);
        for (const char* foreign : {"http://host/a", "file://host/a", "file:a", "/a", "file:///a%00b", ""})
            QVERIFY2(pathFromFileUri(foreign).isNull(), foreign);
        QVERIFY(fileUriFromPath(u"a/b"_s).isEmpty());
    }

 private:
    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }
    QTemporaryDir _folder;
};

TAVLIN_TEST_MAIN(QCoreApplication, FileAccessTest)
#include "tst_file_access.moc"
