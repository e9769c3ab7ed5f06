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
            QVERIFY(::mkfifo(path.constData(), 0600) == 0);
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
            << QByteArrayList{".hidden/", ".hidden/in", ".hidden/.DS_Store",
                              "sub/",     "sub/deep/",  "sub/deep/x",
                              "y",        ".z"}
            << QByteArrayList{"sub", "y"} << QByteArrayList{".hidden/in", "sub/deep/x", "y"};
        QTest::newRow("odd names")
            << QByteArrayList{"new\nline", "100%@", "\"quoted\" \\", "\xff\xfe.jpg", "pipe|"}
            << QByteArrayList{"\"quoted\" \\", "100%@", "new\nline", "pipe|", "\xff\xfe.jpg"}
            << QByteArrayList{"\"quoted\" \\", "100%@", "new\nline", "pipe|", "\xff\xfe.jpg"};
        QTest::newRow("links") << QByteArrayList{"d/", "d/f", "to d>d", "to f>d/f", "nowhere>gone"}
                               << QByteArrayList{"d", "nowhere", "to d", "to f"}
                               << QByteArrayList{"d/f", "nowhere", "to d/f", "to f"};
        QTest::newRow("links to ancestors and to one another")
            << QByteArrayList{"a/", "a/f", "a/up>..", "a/self>.", "b/", "b/g", "a/over>../b", "b/back>../a"}
            << QByteArrayList{"a", "b"} << QByteArrayList();
        QTest::newRow("nothing") << QByteArrayList() << QByteArrayList() << QByteArrayList();
    }
    void collects() {
        QFETCH(QByteArrayList, names);
        QFETCH(QByteArrayList, flat);
        QFETCH(QByteArrayList, recursive);
        const TestFolder folder;
        make(folder.path(), names);
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), false);
        QCOMPARE(walk.numberFound(), std::size_t(flat.size()));
        QCOMPARE(collected(walk, folder.path()), flat);
        walk.addImagesWithPathRecursive(folder.path(), true);
        const QByteArrayList found = collected(walk, folder.path());
        if (recursive.isEmpty() && !names.isEmpty())
            QVERIFY2(found.contains("a/f") && found.contains("b/g") && found.size() <= 8, found.join('\n'));
        else
            QCOMPARE(found, recursive);
    }

    void entersALinkedFolderOnce() {
        const TestFolder outside;
        make(outside.path(), {"picture"});
        const TestFolder folder;
        const QByteArray target = platform::bytesFromPath(outside.path());
        make(folder.path(), {"one>" + target, "two>" + target, "sub/", "sub/three>" + target});
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), true);
        QCOMPARE(walk.takeImages().size(), std::size_t(1));
    }

    void takesALeafAndAMissingPathAsItems_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("count");
        QTest::newRow("file") << QStringLiteral("file") << 1;
        QTest::newRow("hidden file") << QStringLiteral(".file") << 0;
        QTest::newRow("missing") << QStringLiteral("missing") << 1;
    }
    void takesALeafAndAMissingPathAsItems() {
        QFETCH(QString, name);
        QFETCH(int, count);
        const TestFolder folder;
        make(folder.path(), {"file", ".file"});
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path() + u'/' + name, true);
        const ImageList images = walk.takeImages();
        QCOMPARE(images.size(), std::size_t(count));
        if (count > 0)
            QCOMPARE(images[0]->modificationTimeStamp() > 0, name == QStringLiteral("file"));
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

    void endsEarlyWhenStopped() {
        ImageWalk walk;
        walk.stop();
        walk.addImagesWithPathRecursive(QStringLiteral("/usr"), true);
        QCOMPARE(walk.numberFound(), std::size_t(0));
    }

    void logsDepthFirst() {
        const TestFolder folder;
        make(folder.path(), {"sub/", "sub/.h"});
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        ImageWalk walk;
        walk.addImagesWithPathRecursive(folder.path(), true);
        const QString name = QStringLiteral("-[ImageBrowserDataSource addImagesWithPath:recursive:] ");
        const QString add = QStringLiteral("-[ImageBrowserDataSource addAnImageWithPath:] ");
        const QString sub = folder.path() + QStringLiteral("/sub");
        const QString hidden = sub + QStringLiteral("/.h");
        const QStringList expected{name + QStringLiteral("(171): Starting to add from ") + folder.path(),
                                   name + QStringLiteral("(187): Adding recursively this: ") + sub,
                                   name + QStringLiteral("(171): Starting to add from ") + sub,
                                   name + QStringLiteral("(187): Adding recursively this: ") + hidden,
                                   name + QStringLiteral("(171): Starting to add from ") + hidden,
                                   name + QStringLiteral("(200): Adding leaf item: ") + hidden,
                                   add + QStringLiteral("(208): Start, path: ") + hidden,
                                   add + QStringLiteral("(217): Skipping file: ") + hidden,
                                   add + QStringLiteral("(228): End."),
                                   name + QStringLiteral("(203): End"),
                                   name + QStringLiteral("(203): End"),
                                   name + QStringLiteral("(203): End")};
        QCOMPARE(log.taken(), expected);
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
