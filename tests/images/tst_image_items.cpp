// SPDX-License-Identifier: GPL-3.0-or-later
// One item and the lists of them: paths, orders, the merge.
#include "images/ImageMerge.h"
#include "images/ImageObject.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>

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

/// The merge as it is prescribed, step by step.
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

QStringList titles(const ImageList& list) {
    QStringList result;
    for (const ImageRef& image : list)
        result += image->imageTitle();
    return result;
}

}  // namespace

class ImageItemsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() { appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging); }

    void splitsThePathAndGivesItBack_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("folder");
        const auto row = [](const char* path, const char* title, const char* folder) {
            QTest::newRow(path) << QString::fromUtf8(path) << QString::fromUtf8(title)
                                << QString::fromUtf8(folder);
        };
        row("/a/b/IMG 1.jpg", "IMG 1.jpg", "/a/b");
        row("/top", "top", "/");
        row("/", "/", "/");
        row("bare.png", "bare.png", "");
        row("/a/folder/", "folder", "/a");
        row("/a//b//", "b", "/a");
    }
    void splitsThePathAndGivesItBack() {
        QFETCH(QString, path);
        ImageObject image;
        QVERIFY(image.imageTitle().isNull() && image.imageSubtitle().isNull());
        image.setPath(path);
        QCOMPARE(image.imagePath(), path);
        QCOMPARE(image.imageUID(), path);
        QTEST(image.imageTitle(), "title");
        QTEST(image.imageContainingFolderPath(), "folder");
        QCOMPARE(image.imageSubtitle(), QStringLiteral("Metadaten oder so."));
    }

    void isTheSameWhetherGivenWholeOrInItsFolder() {
        ImageObject whole;
        whole.setPath(QStringLiteral("/f/a.jpg"));
        QVERIFY(whole.isEqual(*item(QStringLiteral("a.jpg"), 5)));
        QCOMPARE(whole.hash(), item(QStringLiteral("a.jpg"))->hash());
        QVERIFY(!whole.isEqual(*item(QStringLiteral("a.jpg"), 0, QStringLiteral("/g/"))));
        ImageObject withSlash;
        withSlash.setPath(QStringLiteral("/f/a.jpg/"));
        QVERIFY(!withSlash.isEqual(whole));
    }

    void takesTheModificationTimeWithItsFraction() {
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        const QString path = QDir::tempPath() + QStringLiteral("/dated");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        const auto date = QDateTime::fromMSecsSinceEpoch(1'600'000'000'250, Qt::UTC);
        QVERIFY(file.setFileTime(date, QFile::FileModificationTime));
        LogLines log;
        ImageObject image;
        image.setPath(path);
        QCOMPARE(image.modificationTimeStamp(), 1'600'000'000.25);
        const QStringList lines = log.taken();
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[0].startsWith(QStringLiteral("-[ImageObject setPath:] (41): fileAttributes: {")));
        QVERIFY(lines[1].startsWith(
            QStringLiteral("-[ImageObject setPath:] (45): fileModificationDate: 2020-09-13")));
        image.setPath(path + QStringLiteral(".gone"));
        QCOMPARE(image.modificationTimeStamp(), 0.0);
        QCOMPARE(
            log.taken(),
            QStringList(QStringLiteral("-[ImageObject setPath:] (56): Warning: fileAttributes are nil!")));
    }

    void ordersByTitle_data() {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("case") << QStringLiteral("B.jpg") << QStringLiteral("a.jpg");
        QTest::newRow("digits") << QStringLiteral("img10") << QStringLiteral("img2");
        QTest::newRow("no language") << QStringLiteral("z") << QStringLiteral("ä");
        // By code point it would be the other way round.
        QTest::newRow("UTF-16") << QStringLiteral("\U0001F600") << QStringLiteral("\uFF5E");
    }
    void ordersByTitle() {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QCOMPARE(item(first)->compareTitle(*item(second)), -1);
        QCOMPARE(item(second)->compareTitle(*item(first)), 1);
        QCOMPARE(item(first)->compareTitle(*item(first)), 0);
    }

    void ordersByTimeAndSaysSo() {
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        const ImageRef older = item(QStringLiteral("a"), 1.5);
        const ImageRef newer = item(QStringLiteral("b"), 2.5);
        LogLines log;
        QCOMPARE(newer->compareModificationTimeStamp(*older), -1);
        QCOMPARE(older->compareModificationTimeStamp(*newer), 1);
        QCOMPARE(older->compareModificationTimeStamp(*older), 0);
        const QString name = QStringLiteral("-[ImageObject compareModificationTimeStamp:] ");
        const QStringList lines = log.taken();
        QCOMPARE(lines.size(), 6);
        QVERIFY(lines[0].startsWith(name + QStringLiteral("(123): myTimeStamp: ")));
        QCOMPARE(lines[1], name + QStringLiteral("(134): NSOrderedAscending!"));
        QCOMPARE(lines[3], name + QStringLiteral("(139): NSOrderedDescending!"));
        QCOMPARE(lines[5], name + QStringLiteral("(129): NSOrderedSame!"));
    }

    void sortsStably_data() {
        QTest::addColumn<QVariant>("setting");
        QTest::addColumn<bool>("isLogging");
        QTest::addColumn<QStringList>("expected");
        const auto byTitle = QString(QStringLiteral("Zebra.jpg apple.jpg new old old2")).split(u' ');
        const auto byTime = QString(QStringLiteral("new Zebra.jpg old old2 apple.jpg")).split(u' ');
        QTest::newRow("0") << QVariant(0) << false << byTitle;
        QTest::newRow("2") << QVariant(2) << false << byTitle;
        QTest::newRow("none") << QVariant() << false << byTitle;
        QTest::newRow("1") << QVariant(1) << false << byTime;
        QTest::newRow("1 from the file, logged") << QVariant(QStringLiteral("1")) << true << byTime;
    }
    void sortsStably() {
        QFETCH(QVariant, setting);
        QFETCH(bool, isLogging);
        appGlobals->setObjectForKey(setting, PreferenceKeys::imagesBrowserSort);
        appGlobals->setObjectForKey(isLogging, PreferenceKeys::debugLogging);
        ImageList list{item(QStringLiteral("old"), 3), item(QStringLiteral("old2"), 3),
                       item(QStringLiteral("apple.jpg"), 0), item(QStringLiteral("new"), 9),
                       item(QStringLiteral("Zebra.jpg"), 4)};
        LogLines log;
        sortImages(list, imageSortOrderSetting());
        QCOMPARE(log.taken().isEmpty(), !isLogging);
        QTEST(titles(list), "expected");
    }

    void mergesAsThePrescribedStepsDo() {
        QRandomGenerator random(4711);
        for (int round = 0; round < 300; ++round) {
            const ImageList shown = naivelyMerged({}, randomList(random, random.bounded(40)));
            const ImageList imported = randomList(random, random.bounded(40));
            // The very objects must agree: one that was shown keeps its time stamp.
            QVERIFY(mergedImages(shown, imported) == naivelyMerged(shown, imported));
        }
    }
};

int main(int argc, char** argv) {
    const TestHome home;
    const QCoreApplication application(argc, argv);
    appGlobals = PreferencesDictionary::dictionary();
    ImageItemsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_image_items.moc"
