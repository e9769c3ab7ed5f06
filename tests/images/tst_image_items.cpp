// SPDX-License-Identifier: GPL-3.0-or-later
// What a load is made of: the items and their order, the walk that collects them, the merge.
#include "images/ImageMerge.h"
#include "images/ImageWalk.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestMain.h"

#include <QFile>
#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace {

ImageRef item(const QString& title, double timeStamp = 0, const QString& folder = QStringLiteral("/f/")) {
    ImageRef image(new ImageObject);
    platform::FileStatus status;
    status.modificationTime = timeStamp;
    image->setPathInFolder(folder, title, status);
    return image;
}

bool holds(const ImageList& list, const ImageRef& image) {
    return std::any_of(list.begin(), list.end(),
                       [&](const ImageRef& other) { return other->isEqual(*image); });
}

/// The merge in its plain form, step by step.
ImageList naivelyMerged(ImageList shown, const ImageList& imported) {
    for (const ImageRef& image : imported)
        if (!holds(shown, image))
            shown.push_back(image);
    std::erase_if(shown, [&](const ImageRef& image) { return !holds(imported, image); });
    return shown;
}

ImageList randomList(QRandomGenerator& random, int size) {
    ImageList list;
    for (int i = 0; i < size; ++i)
        list.push_back(item(QString::number(random.bounded(size + 1)), 0,
                            random.bounded(2) == 0 ? QStringLiteral("/f/") : QStringLiteral("/g/")));
    return list;
}

/// A temporary folder that also removes names that are not UTF-8, open to everybody below /tmp.
struct TestFolder : QTemporaryDir {
    TestFolder() : QTemporaryDir(QStringLiteral("/tmp/tavlin-test-XXXXXX")) {}
    ~TestFolder() { std::filesystem::remove_all(path().toStdString()); }
};

/// Makes what `names` lists below the folder: "a/" a folder, "l>target" a link, "p|" a FIFO, else a file.
void make(const QString& folder, const QByteArrayList& names) {
    for (const QByteArray& name : names) {
        const QByteArray path = platform::bytesFromPath(folder) + '/' + name;
        if (name.endsWith('/'))
            QVERIFY(::mkdir(path.constData(), 0700) == 0);
        else if (const auto arrow = path.indexOf('>'); arrow > 0)
            QVERIFY(::symlink(path.constData() + arrow + 1, path.first(arrow).constData()) == 0);
        else if (name.endsWith('|'))
            QVERIFY(::mkfifo(path.chopped(1).constData(), 0600) == 0);
        else
            ::close(::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    }
}

/// The paths relative to the folder, sorted, as bytes.
QByteArrayList collected(ImageWalk& walk, const QString& folder) {
    QByteArrayList paths;
    for (const ImageRef& image : walk.takeImages())
        paths += platform::bytesFromPath(image->imagePath().sliced(folder.size() + 1));
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

class ImageItemsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { appGlobals = PreferencesDictionary::dictionary(); }
    void init() { appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging); }

    void splitsThePathAndGivesItBack_data() {
        const Table<QString, QString> columns("title", "folder");
        const auto row = [](const char* path, const char* title, const char* folder) {
            QTest::newRow(path) << QString::fromUtf8(title) << QString::fromUtf8(folder);
        };
        row("/a/b/IMG 1.jpg", "IMG 1.jpg", "/a/b");
        row("/top", "top", "/");
        row("/", "/", "/");
        row("bare.png", "bare.png", "");
        row("/a//b//", "b", "/a");
    }
    void splitsThePathAndGivesItBack() {
        const QString path = QString::fromUtf8(QTest::currentDataTag());
        ImageObject image;
        QVERIFY(image.imageTitle().isNull() && image.imageSubtitle().isNull());
        image.setPath(path);
        QCOMPARE(image.imagePath(), path);
        QVERIFY(image.isEqual(*item(image.imageTitle(), 5, path.first(path.lastIndexOf(u'/') + 1))) ==
                !path.endsWith(u'/'));
        QTEST(image.imageTitle(), "title");
        QTEST(image.imageContainingFolderPath(), "folder");
        QCOMPARE(image.imageSubtitle(), QStringLiteral("Metadaten oder so."));
    }

    void takesTheModificationTimeWithItsFraction() {
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        QFile file(QDir::tempPath() + QStringLiteral("/dated"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        const auto date = QDateTime::fromMSecsSinceEpoch(1'600'000'000'250, Qt::UTC);
        QVERIFY(file.setFileTime(date, QFile::FileModificationTime));
        LogLines log;
        ImageObject image;
        image.setPath(file.fileName());
        QCOMPARE(image.modificationTimeStamp(), 1'600'000'000.25);
        image.setPath(file.fileName() + u'/');
        QCOMPARE(image.modificationTimeStamp(), 0.0);
        const QStringList lines = log.taken();
        QCOMPARE(lines.size(), 3);
        QVERIFY(lines[0].startsWith(QStringLiteral("-[ImageObject setPath:] (41): fileAttributes: {")));
        QVERIFY(lines[1].contains(QStringLiteral(":] (45): fileModificationDate: 2020-09-13")));
        QVERIFY(lines[2].endsWith(QStringLiteral(":] (56): Warning: fileAttributes are nil!")));
    }

    void sortsStably_data() {
        const Table<QVariant, QString> row("setting", "expected");
        // UTF-16 order: a character beyond U+FFFF before U+FF5E, capitals before small letters, 10 before 2.
        const QString byTitle = QStringLiteral("Zebra apple img10 img2 ä \U0001F600 \uFF5E");
        const QString byTime = QStringLiteral("img2 Zebra \uFF5E ä img10 \U0001F600 apple");
        row("0", QVariant(0), byTitle);
        row("none", QVariant(), byTitle);
        row("1", QVariant(1), byTime);
        row("1, as text", QVariant(QStringLiteral("1")), byTime);
    }
    void sortsStably() {
        QFETCH(QVariant, setting);
        QFETCH(QString, expected);
        appGlobals->setObjectForKey(setting, PreferenceKeys::imagesBrowserSort);
        for (const bool isLogging : {false, true}) {
            appGlobals->setObjectForKey(isLogging, PreferenceKeys::debugLogging);
            ImageList list;
            for (const QString& title :
                 QStringLiteral("\uFF5E ä img10 \U0001F600 apple img2 Zebra").split(u' '))
                list.push_back(item(title, list.size() < 4    ? 3
                                           : list.size() == 4 ? 0
                                                              : 15 - double(list.size())));
            LogLines log;
            sortImages(list, imageSortOrderSetting());
            const QStringList lines = log.taken();
            QCOMPARE(lines.isEmpty(), !isLogging || setting.toInt() != 1);
            QCOMPARE(lines.filter(QStringLiteral(":] (123): myTimeStamp: ")).size() * 2, lines.size());
            QStringList titles;
            for (const ImageRef& image : list)
                titles += image->imageTitle();
            QCOMPARE(titles.join(u' '), expected);
        }
    }

    void mergesAsThePlainStepsDo() {
        QRandomGenerator random(4711);
        for (int round = 0; round < 300; ++round) {
            const ImageList shown = naivelyMerged({}, randomList(random, random.bounded(40)));
            const ImageList imported = randomList(random, random.bounded(40));
            // The very objects must agree: one that was shown keeps its time stamp.
            QVERIFY(mergedImages(shown, imported) == naivelyMerged(shown, imported));
        }
    }

    void collects_data() {
        const Table<QByteArrayList, QByteArrayList, QByteArrayList> row("names", "flat", "recursive");
        row("hidden folders are entered, and shown by nothing",
            {".h/", ".h/in", ".h/.DS_Store", "sub/", "sub/deep/", "sub/deep/x", "y", ".z"}, {"sub", "y"},
            {".h/in", "sub/deep/x", "y"});
        const QByteArrayList odd{"\"quoted\" \\", "100%@", "new\nline", "\xff\xfe.jpg"};
        row("odd names", odd, odd, odd);
        row("FIFO", {"pipe|"}, {"pipe"}, {"pipe"});
        row("links", {"d/", "d/f", "to d>d", "to f>d/f", "nowhere>gone"}, {"d", "nowhere", "to d", "to f"},
            {"d/f", "nowhere", "to d/f", "to f"});
        row("a linked folder is entered once", {"d/", "d/e/", "d/e/f", "d/one>e", "d/two>e"}, {"d"},
            {"d/e/f", "d/one/f"});
        row("links to what the walk is inside of", {"a/", "a/f", "a/up>..", "a/self>."}, {"a"}, {"a/f"});
        row("links to one another", {"a/", "a/f", "b/", "b/g", "a/over>../b", "b/back>../a"}, {"a", "b"},
            {"a/f", "a/over/g", "b/back/f", "b/g"});
        row("nothing", {}, {}, {});
    }
    void collects() {
        QFETCH(QByteArrayList, names);
        const TestFolder folder;
        make(folder.path(), names);
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), false);
        QTEST(collected(walk, folder.path()), "flat");
        walk.addImagesWithPathRecursive(folder.path(), true);
        auto found = collected(walk, folder.path());
        if (found.contains("d/two/f"))  // which of two links comes first is the file system's affair
            found.replace(found.indexOf("d/two/f"), "d/one/f");
        QTEST(found, "recursive");
    }

    void survivesDepthBeyondAnyStack() {
        const TestFolder folder;
        QByteArray path = platform::bytesFromPath(folder.path());
        while (path.size() < 4000)
            QVERIFY(::mkdir((path += "/d").constData(), 0700) == 0);
        ::close(::open((path + "/deep.jpg").constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), true);
        QCOMPARE(walk.takeImages().size(), std::size_t(1));
    }

    void logsDepthFirst() {
        const TestFolder folder;
        make(folder.path(), {"sub/", "sub/.h"});
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), true);
        const QStringList lines = log.taken();
        QVERIFY(lines.contains(
            QStringLiteral("-[ImageBrowserDataSource addAnImageWithPath:] (217): Skipping file: %1/sub/.h")
                .arg(folder.path())));
        QString numbers;
        for (const QString& line : lines)
            numbers += line.sliced(line.indexOf(u'('), 5);
        QCOMPARE(numbers, QStringLiteral("(171)(187)(171)(187)(171)(200)(208)(217)(228)(203)(203)(203)"));
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, ImageItemsTest)

#include "tst_image_items.moc"
