// SPDX-License-Identifier: GPL-3.0-or-later
// Loads that overlap, are asked for again, are overtaken or outlive the program; what the user does.
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/BrowserPanes.h"
#include "testing/LogLines.h"
#include "testing/SlowPlace.h"
#include "testing/TestMain.h"

#include <QApplication>
#include <QRegularExpression>
#include <QSignalSpy>

namespace {

/// The two panes; what they show is made in the test's home.
struct HomeWindow : Window {
    /// Makes files "0" to "count - 1" in a subfolder of the home and answers its path.
    static QString subfolder(const QString& name, int count) {
        const QDir sub(QDir::home().filePath(name));
        sub.mkpath(QStringLiteral("."));
        for (int i = 0; i < count; ++i)
            QFile(sub.filePath(QString::number(i))).open(QIODevice::WriteOnly);
        return sub.path();
    }
    bool showsExactly(const QString& path, int count) const {
        for (std::size_t i = 0; i < images->numberOfImages(); ++i)
            if (!images->pathAtIndex(i).startsWith(path + u'/'))
                return false;
        return images->numberOfImages() == static_cast<std::size_t>(count);
    }
};

}  // namespace

class ImageBrowserDataSourceTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { appGlobals = PreferencesDictionary::dictionary(); }
    void init() {
        QVERIFY(QDir::home().removeRecursively() && QDir().mkpath(QDir::homePath()));
        appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging);
        appGlobals->setObjectForKey(false, PreferenceKeys::imageBrowserRecursive);
        appGlobals->setObjectForKey(0, PreferenceKeys::imagesBrowserSort);
    }

    void logsOneLoad() {
        HomeWindow window;
        const QString path = window.subfolder(QStringLiteral("only"), 1);
        appGlobals->setObjectForKey(true, PreferenceKeys::imageBrowserAnimation);
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        QStringList lines;
        window.load(path);
        QTRY_VERIFY(!(lines += log.taken()).filter(QStringLiteral("Paths:] (163): End")).isEmpty());
        QStringList told;
        for (const QString& line : lines)
            if (line.startsWith(u"-[Image") && !line.contains(u"(68)"))
                told += line.section(u' ', 1).replace(path, QStringLiteral("DIR"));
        told.replaceInStrings(QRegularExpression(QStringLiteral("\\((137|139|41|45)\\)\\K.*")), {});
        // The main thread's line about the started thread falls anywhere among those of that thread.
        QCOMPARE(told.removeAll(QStringLiteral("reloadWithPath:] (109): Detaching new thread...DONE")), 1);
        QCOMPARE(told.join(u'\n'),
                 QStringLiteral("reloadWithPath:] (95): Reloading for path: DIR\n"
                                "reloadWithPath:] (104): urls: (DIR)\n"
                                "reloadWithPath:] (107): Detaching new thread...\n"
                                "addImagesWithPaths:] (132): Start\n"
                                "addImagesWithPaths:] (137)\n"
                                "addImagesWithPaths:] (139)\n"
                                "addImagesWithPaths:] (141): setAnimates to: 1\n"
                                "addImagesWithPaths:] (146): Got 1 urls.\n"
                                "addImagesWithPaths:] (149): Adding from URL (path) 0...\n"
                                "addImagesWithPaths:] (152): path: DIR\n"
                                "addImagesWithPaths:] (154): recursively: 0\n"
                                "addImagesWithPath:recursive:] (171): Starting to add from DIR\n"
                                "addImagesWithPath:recursive:] (193): Adding NOT recursively this: DIR/0\n"
                                "addAnImageWithPath:] (208): Start, path: DIR/0\n"
                                "setPath:] (41)\n"
                                "setPath:] (45)\n"
                                "addAnImageWithPath:] (228): End.\n"
                                "addImagesWithPath:recursive:] (203): End\n"
                                "addImagesWithPaths:] (163): End"));
        QVERIFY(window.view.animates());
    }

    void showsThePlaceAskedForLast() {
        HomeWindow window;
        const QString many = window.subfolder(QStringLiteral("many"), 3000);
        const QString few = window.subfolder(QStringLiteral("few"), 3);
        const QSignalSpy merges(window.images.get(), &ImageBrowserDataSource::itemsChanged);
        window.images->reloadWithPath(many);
        window.images->reloadWithPath(std::nullopt);
        window.load(few);
        QVERIFY(window.showsExactly(few, 3));
        QCOMPARE(merges.size(), 1);
        for (int i = 0; i < 100; ++i)
            window.images->reloadWithPath(i % 2 == 0 ? few : many);
        QTRY_VERIFY(!window.images->isLoading());
        QVERIFY(window.showsExactly(many, 3000));
    }

    /// A double-click on a folder asks for it twice, by the outline's selection and by itself.
    void isWholeAHundredTimesOver() {
        HomeWindow window;
        const QString folders[] = {window.subfolder(QStringLiteral("a"), 40),
                                   window.subfolder(QStringLiteral("b"), 60)};
        for (int i = 0; i < 100; ++i) {
            const QString& folder = folders[i % 2];
            window.images->reloadWithPath(folder);
            window.images->reloadWithPath(folder);
            QTRY_VERIFY(!window.images->isLoading());
            QVERIFY(window.showsExactly(folder, i % 2 == 0 ? 40 : 60));
        }
    }

    void loadsAtMostOnceMoreWhenAskedAgain() {
        HomeWindow window;
        const QString path = window.subfolder(QStringLiteral("p"), 5);
        const QSignalSpy merges(window.images.get(), &ImageBrowserDataSource::itemsChanged);
        const QSignalSpy loading(window.images.get(), &ImageBrowserDataSource::loadingChanged);
        for (int i = 0; i < 5; ++i)
            window.images->reloadWithPath(path);
        QTRY_VERIFY(!window.images->isLoading());
        QCOMPARE(merges.size(), 2);
        QCOMPARE(loading.size(), 2);
        QVERIFY(window.showsExactly(path, 5));
    }

    void keepsTheItemsThatStay() {
        HomeWindow window;
        const QString path = window.subfolder(QStringLiteral("p"), 2);
        window.load(path);
        const auto* stays = window.images->imageBrowserItemAtIndex(window.view, 0);
        QVERIFY(QFile::remove(path + QStringLiteral("/1")));
        window.subfolder(QStringLiteral("p/2"), 0);
        appGlobals->setObjectForKey(1, PreferenceKeys::imagesBrowserSort);
        window.load(path);
        QCOMPARE(window.nameAt(0) + window.nameAt(1), QByteArray("20"));
        QCOMPARE(window.images->numberOfImages(), std::size_t{2});
        QCOMPARE(window.images->imageBrowserItemAtIndex(window.view, 1), stays);
        QVERIFY(window.images->isFolderAtIndex(0));
        SlowPlace slow(path);
        platform::FolderReader::shared().setRead(slow.read());
        QVERIFY(!window.images->isFolderAtIndex(0));
        platform::FolderReader::shared().setRead(platform::readFolder);
        QCOMPARE(window.images->urlAtIndex(0), path + QStringLiteral("/2"));
        QVERIFY(QDir(path).removeRecursively());
        window.load(path);
        QCOMPARE(window.shown(), Names{"p"});
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, window.images->pathAtIndex(1));
    }

    void endsWithLoadsUnderWay() {
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        QStringList lines;
        const auto countOf = [&](const char* text) {
            lines += log.taken();
            return lines.filter(QLatin1String(text)).size();
        };
        constexpr int rounds = 20;
        for (int round = 0; round < rounds; ++round) {
            HomeWindow window;
            window.subfolder(QStringLiteral("p"), 0);
            const QSignalSpy merges(window.images.get(), &ImageBrowserDataSource::itemsChanged);
            window.images->reloadWithPath(QDir::homePath());
            // In every second round all is collected, and the thread goes on to wait for its merge.
            while (round % 2 == 1 && window.images->numberFound() == 0)
                QThread::yieldCurrentThread();
            window.images.reset();
            QCOMPARE(merges.size(), 0);
        }
        QTRY_COMPARE(countOf("Paths:] (163): End"), rounds);
    }

    void mergesNothingAfterTheMainLoop() {
        HomeWindow window;
        window.images->reloadWithPath(window.subfolder(QStringLiteral("p"), 3));
        while (window.images->numberFound() < 3)
            QThread::yieldCurrentThread();
        const QSignalSpy merges(window.images.get(), &ImageBrowserDataSource::itemsChanged);
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        QApplication::exec();
        const qsizetype before = merges.size();
        window.images->reloadWithPath(QDir::homePath());
        QVERIFY(!window.images->isLoading());
        QCoreApplication::processEvents();
        QCOMPARE(merges.size(), before);
    }
};

TAVLIN_TEST_MAIN(QApplication, ImageBrowserDataSourceTest)

#include "tst_image_browser_data_source.moc"
