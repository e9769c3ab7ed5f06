// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailStore.h"

#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QImageReader>

#include <csignal>
#include <cstdlib>
#include <functional>

using namespace Qt::StringLiterals;
using namespace platform;

namespace {

/// What the decoder answers for a stored file.
DecodeResult readStored(int descriptor) {
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly))
        return DecodeFailure{};
    DecodedPicture picture;
    picture.image = QImageReader(&file, "png").read();
    if (picture.image.isNull())
        return DecodeFailure{};
    for (const QString& key : picture.image.textKeys())
        picture.texts.insert(key.toUtf8(), picture.image.text(key).toUtf8());
    return picture;
}

QImage plainImage(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor(10, 20, 30));
    return image;
}

unsigned permissionsOf(const QString& path) {
    return fileStatus(path)->mode & 07777;
}

}  // namespace

/// The shared store, as another program of the desktop sees it, and as it sees theirs.
class ThumbnailStoreTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() { _folder = std::make_unique<QTemporaryDir>(); }

    void namesByUri() {
        // By md5sum of the URI that other programs write.
        for (const auto& [path, hash] :
             {std::pair("/home/jens/photos/me.png", "c6ee772d9e49320e97ec29a7eb5b1697"),
              {"/tmp/a b%c.png", "dedf4685748a5ac9bfd6a3b4b8fde2d8"},
              {"/tmp/\xff.png", "432dc9e7c3ec5a69b2caad256c9ba799"},
              {"/tmp/\xc3\xa4.png", "be59529ad1360bc84b6ddb8cca90b614"},
              {"/tmp/(a)'&=+,~!$*.png", "f567a3f8df56a8b9644020c00ec78631"}})
            QCOMPARE(ThumbnailStore::fileName(fileUriFromPath(pathFromBytes(path))).toLatin1(),
                     QByteArray(hash) + ".png");
    }

    void keepsToTheStandard() {
        const auto original = makeOriginal(_folder->filePath(u"a picture with a long name.jpeg"_s));
        QVERIFY(ThumbnailStore(store()).save(*original, 256, plainImage({256, 128}), {1200, 600}));

        const QString folder = pathByAppending(store(), u"large"_s);
        const QString path = pathByAppending(folder, ThumbnailStore::fileName(original->uri));
        QCOMPARE(permissionsOf(store()), 0700U);
        QCOMPARE(permissionsOf(folder), 0700U);
        QCOMPARE(permissionsOf(path), 0600U);
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 1);

        const QImage image(path);
        QCOMPARE(image.size(), QSize(256, 128));
        QCOMPARE(image.pixelColor(5, 5), QColor(10, 20, 30));
        const std::pair<const char*, QByteArray> expected[] = {
            {"Thumb::URI", original->uri},
            {"Thumb::MTime", QByteArray::number(QFileInfo(original->path).lastModified().toSecsSinceEpoch())},
            {"Thumb::Size", "500"},
            {"Thumb::Mimetype", "image/jpeg"},
            {"Thumb::Image::Width", "1200"},
            {"Thumb::Image::Height", "600"},
            {"Software", "Tavlin " TAVLIN_VERSION}};
        for (const auto& [key, value] : expected)
            QCOMPARE(image.text(QString::fromLatin1(key)).toLatin1(), value);
        QVERIFY2(!readFile(path).contains("zTXt"), "not every program reads compressed texts");
    }

    void leavesNothingOfAKilledWriter() {
        const ThumbnailStore thumbnails(store());
        const auto original = makeOriginal(_folder->filePath(u"a.jpg"_s));
        const QString folder = pathByDeletingLastComponent(thumbnails.thumbnailPath(original->uri, 256));
        QVERIFY(QDir().mkpath(folder));
        if (!ScopedFileDescriptor(::open(bytesFromPath(folder).constData(), O_TMPFILE | O_WRONLY, 0600))
                 .isValid())
            QSKIP("this file system has no files without a name");
        const pid_t writer = ::fork();
        if (writer == 0) {
            const rlimit amidTheFile{100, 100};
            ::setrlimit(RLIMIT_FSIZE, &amidTheFile);
            thumbnails.save(*original, 256, plainImage({256, 128}), {1200, 600});
            ::_exit(EXIT_SUCCESS);
        }
        int status = 0;
        QCOMPARE(::waitpid(writer, &status, 0), writer);
        QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ);
        QVERIFY(QDir(folder).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
    }

    void findsTheSmallestThatSuffices() {
        const ThumbnailStore thumbnails(store());
        const auto original = makeOriginal(_folder->filePath(u"a.jpg"_s));
        QVERIFY(thumbnails.save(*original, 256, plainImage({256, 128}), {1200, 600}));
        QVERIFY(thumbnails.save(*original, 1024, plainImage({1024, 512}), {1200, 600}));
        QCOMPARE(thumbnails.find(*original, 100, readStored)->image.width(), 256);
        QCOMPARE(thumbnails.find(*original, 256, readStored)->image.width(), 256);
        QCOMPARE(thumbnails.find(*original, 257, readStored)->image.width(), 1024);
        QVERIFY(!thumbnails.find(*original, 1025, readStored));

        QImage foreign = plainImage({100, 50});
        foreign.setText(u"Thumb::URI"_s, QString::fromLatin1(original->uri));
        foreign.setText(u"Thumb::MTime"_s, QString::number(original->modificationSeconds));
        QVERIFY(QDir(store()).mkdir(u"normal"_s));
        QVERIFY(foreign.save(thumbnails.thumbnailPath(original->uri, 128), "png"));
        const auto found = thumbnails.find(*original, 90, readStored);
        QCOMPARE(found->image.size(), QSize(100, 50));
        QVERIFY(found->isWhole);
    }

    void takesNothingStale_data() {
        using Change = std::function<void(ThumbnailStore::Original&, const QString& stored)>;
        QTest::addColumn<Change>("change");
        const auto row = [](const char* name, Change change) {
            QTest::newRow(name) << std::move(change);
        };
        row("an older file moved over it", [](auto& original, auto&) { original.modificationSeconds -= 1; });
        row("another size", [](auto& original, auto&) { original.size += 1; });
        row("the thumbnail of another file", [](auto& original, auto& stored) {
            original.uri += 'x';
            QFile::copy(stored, pathByAppending(pathByDeletingLastComponent(stored),
                                                ThumbnailStore::fileName(original.uri)));
        });
        row("half a file", [](auto&, auto& stored) { QFile::resize(stored, 200); });
        row("a FIFO", [](auto&, auto& stored) {
            QFile::remove(stored);
            ::mkfifo(bytesFromPath(stored).constData(), 0600);
        });
    }
    void takesNothingStale() {
        using Change = std::function<void(ThumbnailStore::Original&, const QString& stored)>;
        QFETCH(const Change, change);
        const ThumbnailStore thumbnails(store());
        auto original = makeOriginal(_folder->filePath(u"a.jpg"_s));
        QVERIFY(thumbnails.save(*original, 256, plainImage({256, 128}), {1200, 600}));
        QVERIFY(thumbnails.find(*original, 256, readStored));
        change(*original, thumbnails.thumbnailPath(original->uri, 256));
        QVERIFY(!thumbnails.find(*original, 256, readStored));
    }

    void keepsOnlyWhatItShould() {
        const ThumbnailStore thumbnails(store());
        const QImage image = plainImage({256, 128});
        const auto old = makeOriginal(_folder->filePath(u"a.jpg"_s));
        QVERIFY2(!thumbnails.save(*old, 256, image, {256, 128}), "as large as the picture");
        const auto growing = makeOriginal(_folder->filePath(u"b.jpg"_s), 0);
        QVERIFY2(!thumbnails.save(*growing, 256, image, {1200, 600}), "it may still be written to");
        QVERIFY(!thumbnails.saveFailure(*growing, u"cut off"_s));
        QVERIFY2(!makeOriginal(pathByAppending(store(), u"normal/c.png"_s)), "its own files");
        const QString link = _folder->filePath(u"link"_s);
        QVERIFY(QFile::link(store(), link));
        QVERIFY2(!makeOriginal(pathByAppending(link, u"normal/c.png"_s)), "by a link as well");
        const ThumbnailStore unwritable(pathByAppending(old->path, u"thumbnails"_s));
        QVERIFY(!unwritable.save(*old, 256, image, {1200, 600}));
        QVERIFY(!unwritable.find(*old, 256, readStored));
    }

    void remembersFailures() {
        const ThumbnailStore thumbnails(store());
        auto original = makeOriginal(_folder->filePath(u"a.jpg"_s));
        QVERIFY(!thumbnails.findFailure(*original, readStored));
        QVERIFY(thumbnails.saveFailure(*original, u"Not a JPEG\nfile"_s));
        QVERIFY(QDir(store() + QStringLiteral("/fail/tavlin-" TAVLIN_VERSION))
                    .exists(ThumbnailStore::fileName(original->uri)));
        QCOMPARE(thumbnails.findFailure(*original, readStored), u"Not a JPEG file"_s);
        original->modificationSeconds += 1;
        QVERIFY(!thumbnails.findFailure(*original, readStored));
    }

 private:
    QString store() const { return _folder->filePath(u"cache/thumbnails"_s); }
    /// A file of `size` bytes, last modified a while ago unless said otherwise, as an original.
    std::optional<ThumbnailStore::Original> makeOriginal(const QString& path, int secondsAgo = 1000,
                                                         int size = 500) {
        QDir().mkpath(pathByDeletingLastComponent(path));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(size, 'x')) != size)
            qFatal("no file could be written");
        file.flush();
        file.setFileTime(QDateTime::currentDateTime().addSecs(-secondsAgo), QFile::FileModificationTime);
        return ThumbnailStore(store()).originalOf(path, file.handle());
    }

    std::unique_ptr<QTemporaryDir> _folder;
};

TAVLIN_TEST_MAIN(QCoreApplication, ThumbnailStoreTest)
#include "ThumbnailStoreTest.moc"
