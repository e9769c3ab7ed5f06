// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QTest>

#include <atomic>
#include <thread>

using namespace platform;

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

 private:
    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }
    QTemporaryDir _folder;
};

TAVLIN_TEST_MAIN(QCoreApplication, FileAccessTest)
#include "tst_file_access.moc"
