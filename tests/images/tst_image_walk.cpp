// SPDX-License-Identifier: GPL-3.0-or-later
// What a walk collects, in which order it says so, and that it ends.
#include "images/ImageWalk.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <QCoreApplication>
#include <QTest>

namespace {

/// A temporary folder that also removes names that are not UTF-8.
class TestFolder {
 public:
    explicit TestFolder(const QString& pattern = QDir::tempPath() + QStringLiteral("/XXXXXX"))
        : _folder(pattern) {}
    ~TestFolder() { std::filesystem::remove_all(_folder.path().toStdString()); }
    QString path() const { return _folder.path(); }

 private:
    QTemporaryDir _folder;
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

class ImageWalkTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() { appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging); }

    void collects_data() {
        QTest::addColumn<QByteArrayList>("names");
        QTest::addColumn<QByteArrayList>("flat");
        QTest::addColumn<QByteArrayList>("recursive");
        QTest::newRow("hidden folders are entered, and shown by nothing")
            << QByteArrayList{".h/", ".h/in", ".h/.DS_Store", "sub/", "sub/deep/", "sub/deep/x", "y", ".z"}
            << QByteArrayList{"sub", "y"} << QByteArrayList{".h/in", "sub/deep/x", "y"};
        const QByteArrayList odd{"\"quoted\" \\", "100%@", "new\nline", "\xff\xfe.jpg"};
        QTest::newRow("odd names") << odd << odd << odd;
        QTest::newRow("FIFO") << QByteArrayList{"pipe|"} << QByteArrayList{"pipe"} << QByteArrayList{"pipe"};
        QTest::newRow("links") << QByteArrayList{"d/", "d/f", "to d>d", "to f>d/f", "nowhere>gone"}
                               << QByteArrayList{"d", "nowhere", "to d", "to f"}
                               << QByteArrayList{"d/f", "nowhere", "to d/f", "to f"};
        QTest::newRow("a linked folder is entered once")
            << QByteArrayList{"d/", "d/e/", "d/e/f", "d/one>e", "d/two>e"} << QByteArrayList{"d"}
            << QByteArrayList{"d/e/f", "d/one/f"};
        QTest::newRow("links to what the walk is inside of")
            << QByteArrayList{"a/", "a/f", "a/up>..", "a/self>."} << QByteArrayList{"a"}
            << QByteArrayList{"a/f"};
        QTest::newRow("nothing") << QByteArrayList() << QByteArrayList() << QByteArrayList();
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

    void takesALeafOrAMissingPathAsAnItem() {
        const TestFolder folder;
        make(folder.path(), {"file", ".file"});
        ImageWalk walk;
        for (const char* name : {"/file", "/.file", "/missing"})
            walk.addImagesWithPathRecursive(folder.path() + QLatin1String(name), true);
        const ImageList images = walk.takeImages();
        QCOMPARE(images.size(), std::size_t(2));
        QVERIFY(images[0]->modificationTimeStamp() > 0);
        QCOMPARE(images[1]->modificationTimeStamp(), 0.0);
    }

    void findsNothingInAnUnreadableFolder() {
        const TestFolder folder(QStringLiteral("/tmp/tavlin-test-XXXXXX"));
        make(folder.path(), {"f"});
        ::chmod(platform::bytesFromPath(folder.path()).constData(), 0);
        const bool isRoot = ::geteuid() == 0;
        QVERIFY(!isRoot || ::seteuid(65534) == 0);
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), false);
        QVERIFY(!isRoot || ::seteuid(0) == 0);
        ::chmod(platform::bytesFromPath(folder.path()).constData(), 0700);
        QCOMPARE(walk.numberFound(), std::size_t(0));
    }

    void leavesTheKernelsFilesAlone() {
        const TestFolder folder;
        make(folder.path(), {"kernel>/proc/sys/kernel", "f"});
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), true);
        QCOMPARE(collected(walk, folder.path()), QByteArrayList{"f"});
        walk.addImagesWithPathRecursive(QStringLiteral("/proc/sys/kernel"), true);
        QVERIFY(walk.takeImages().size() > 20);
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
        const QString lines = log.taken()
                                  .join(u'\n')
                                  .replace(folder.path(), QStringLiteral("F"))
                                  .replace(QStringLiteral("-[ImageBrowserDataSource "), QString());
        QCOMPARE(lines, QString(QStringLiteral("~(171): Starting to add from F\n"
                                               "~(187): Adding recursively this: F/sub\n"
                                               "~(171): Starting to add from F/sub\n"
                                               "~(187): Adding recursively this: F/sub/.h\n"
                                               "~(171): Starting to add from F/sub/.h\n"
                                               "~(200): Adding leaf item: F/sub/.h\n"
                                               "addAnImageWithPath:] (208): Start, path: F/sub/.h\n"
                                               "addAnImageWithPath:] (217): Skipping file: F/sub/.h\n"
                                               "addAnImageWithPath:] (228): End.\n"
                                               "~(203): End\n~(203): End\n~(203): End"))
                            .replace(u'~', QStringLiteral("addImagesWithPath:recursive:] ")));
    }
};

int main(int argc, char** argv) {
    const TestHome home;
    const QCoreApplication application(argc, argv);
    appGlobals = PreferencesDictionary::dictionary();
    ImageWalkTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_image_walk.moc"
