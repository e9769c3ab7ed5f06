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
#include <QRegularExpression>
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

QString titles(const ImageList& list) {
    QStringList result;
    for (const ImageRef& image : list)
        result += image->imageTitle();
    return result.join(u' ');
}

}  // namespace

class ImageItemsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() { appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging); }

    void splitsThePathAndGivesItBack_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("folder");
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
        const QString name = QStringLiteral("-[ImageObject setPath:] ");
        QVERIFY(lines[0].startsWith(name + QStringLiteral("(41): fileAttributes: {")));
        QVERIFY(lines[1].startsWith(name + QStringLiteral("(45): fileModificationDate: 2020-09-13")));
        QCOMPARE(lines[2], name + QStringLiteral("(56): Warning: fileAttributes are nil!"));
    }

    void comparesTimesAndSaysSo() {
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        const ImageRef older = item(QStringLiteral("a"), 1.5);
        const ImageRef newer = item(QStringLiteral("b"), 2.5);
        LogLines log;
        QCOMPARE(newer->compareModificationTimeStamp(*older), -1);
        QCOMPARE(older->compareModificationTimeStamp(*newer), 1);
        QCOMPARE(older->compareModificationTimeStamp(*older), 0);
        QString lines = log.taken().join(u'|');
        lines.remove(QStringLiteral("-[ImageObject compareModificationTimeStamp:] "));
        lines.remove(QRegularExpression(QStringLiteral(" \\d+ vs. \\d+")));
        QCOMPARE(lines,
                 QStringLiteral("(123): myTimeStamp:|(134): NSOrderedAscending!|(123): myTimeStamp:|"
                                "(139): NSOrderedDescending!|(123): myTimeStamp:|(129): NSOrderedSame!"));
    }

    void sortsStably_data() {
        QTest::addColumn<QVariant>("setting");
        QTest::addColumn<bool>("isLogging");
        QTest::addColumn<QString>("expected");
        // UTF-16 order: a character beyond U+FFFF before U+FF5E, capitals before small letters, 10 before 2.
        const QString byTitle = QStringLiteral("Zebra apple img10 img2 ä \U0001F600 \uFF5E");
        const QString byTime = QStringLiteral("img2 Zebra \uFF5E ä img10 \U0001F600 apple");
        QTest::newRow("0") << QVariant(0) << false << byTitle;
        QTest::newRow("2") << QVariant(2) << true << byTitle;
        QTest::newRow("none") << QVariant() << false << byTitle;
        QTest::newRow("1") << QVariant(1) << false << byTime;
        QTest::newRow("1 as text, logged") << QVariant(QStringLiteral("1")) << true << byTime;
    }
    void sortsStably() {
        QFETCH(QVariant, setting);
        QFETCH(bool, isLogging);
        appGlobals->setObjectForKey(setting, PreferenceKeys::imagesBrowserSort);
        appGlobals->setObjectForKey(isLogging, PreferenceKeys::debugLogging);
        ImageList list{item(QStringLiteral("\uFF5E"), 3), item(QStringLiteral("ä"), 3),
                       item(QStringLiteral("img10"), 3),  item(QStringLiteral("\U0001F600"), 3),
                       item(QStringLiteral("apple"), 0),  item(QStringLiteral("img2"), 9),
                       item(QStringLiteral("Zebra"), 4)};
        LogLines log;
        const ImageSortOrder order = imageSortOrderSetting();
        sortImages(list, order);
        QCOMPARE(log.taken().isEmpty(), !isLogging || order == ImageSortOrder::title);
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
