// SPDX-License-Identifier: GPL-3.0-or-later
// Loads that overlap, are asked for again, are overtaken or outlive the program; what the user does.
#include "images/ImageBrowserDataSource.h"
#include "places/FileBrowserDataSource.h"
#include "platform/views/Control.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/SlowPlace.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

namespace {

struct FixedSlider : platform::Control {
    float floatValue() const override { return 0.25F; }
};

/// The two panes wired as in the main window; what they show is made in the test's home.
struct Window {
    FixedSlider slider;
    platform::OutlineView outline;
    platform::ImageBrowserView view;
    FileBrowserDataSource places;
    std::unique_ptr<ImageBrowserDataSource> images = std::make_unique<ImageBrowserDataSource>();

    Window() {
        outline.setDataSource(&places);
        outline.setDelegate(&places);
        places.setFileBrowserOutlineView(&outline);
        places.setImageBrowserDataSource(images.get());
        images->setImageBrowserView(&view);
        images->setImageBrowserSizeSlider(&slider);
        images->setFileBrowserOutlineView(&outline);
        images->setFileBrowserDataSource(&places);
        view.setDataSource(images.get());
        view.setBrowserDelegate(images.get());
        images->awakeFromNib();
        outline.reloadData();
    }
    ~Window() { places.setImageBrowserDataSource(nullptr); }

    /// The outline's row of the home folder: above the pictures folder, below the volumes.
    int homeRow() const { return outline.numberOfRows() - 2; }
    /// Makes files "0" to "count - 1" in a subfolder of the home and answers its path.
    static QString subfolder(const QString& name, int count) {
        const QDir sub(QDir::home().filePath(name));
        sub.mkpath(QStringLiteral("."));
        for (int i = 0; i < count; ++i)
            QFile(sub.filePath(QString::number(i))).open(QIODevice::WriteOnly);
        return sub.path();
    }
    QStringList titles() const {
        QStringList result;
        for (std::size_t i = 0; i < images->numberOfImages(); ++i)
            result += QFileInfo(images->pathAtIndex(i)).fileName();
        return result;
    }
    void load(const QString& path) {
        images->reloadWithPath(path);
        QTRY_VERIFY(!images->isLoading());
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
        Window window;
        const QString path = window.subfolder(QStringLiteral("only"), 1);
        appGlobals->setObjectForKey(true, PreferenceKeys::imageBrowserAnimation);
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        QStringList lines;
        window.load(path);
        QTRY_VERIFY(!(lines += log.taken()).filter(QStringLiteral("Paths:] (163): End")).isEmpty());
        QString numbers;
        for (const QString& line : lines)
            if (const auto at = line.indexOf(u" ("); line.startsWith(u"-[Image") && !line.contains(u"(68)"))
                numbers += line.sliced(at, line.indexOf(u')') - at);
        // The main thread's line about the started thread falls anywhere among those of that thread.
        QCOMPARE(numbers.count(QStringLiteral(" (109")), 1);
        QCOMPARE(numbers.remove(QStringLiteral(" (109")),
                 QStringLiteral(" (95 (104 (107 (132 (137 (139 (141 (146 (149 (152 (154 (171 (193 (208 (41 "
                                "(45 (228 (203 (163"));
        QVERIFY(window.view.animates());
    }

    void showsThePlaceAskedForLast() {
        Window window;
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

    void loadsAtMostOnceMoreWhenAskedAgain() {
        Window window;
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
        Window window;
        const QString path = window.subfolder(QStringLiteral("p"), 2);
        window.load(path);
        const auto* stays = window.images->imageBrowserItemAtIndex(window.view, 0);
        QVERIFY(QFile::remove(path + QStringLiteral("/1")));
        window.subfolder(QStringLiteral("p/2"), 0);
        appGlobals->setObjectForKey(1, PreferenceKeys::imagesBrowserSort);
        window.load(path);
        QCOMPARE(window.titles(), QStringList({QStringLiteral("2"), QStringLiteral("0")}));
        QCOMPARE(window.images->imageBrowserItemAtIndex(window.view, 1), stays);
        QVERIFY(window.images->isFolderAtIndex(0));
        SlowPlace slow(path);
        platform::FolderReader::shared().setRead(slow.read());
        QVERIFY(!window.images->isFolderAtIndex(0));
        platform::FolderReader::shared().setRead(platform::readFolder);
        QCOMPARE(window.images->urlAtIndex(0), path + QStringLiteral("/2"));
        QVERIFY(QDir(path).removeRecursively());
        window.load(path);
        QCOMPARE(window.titles(), QStringList(QStringLiteral("p")));
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
            Window window;
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
        Window window;
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

    void reloadsTheSelectedPlaceUnlessItIsTheFirst() {
        Window window;
        const QSignalSpy merges(window.images.get(), &ImageBrowserDataSource::itemsChanged);
        window.images->reloadCurrentlyViewedContents();
        QVERIFY(!window.images->isLoading());
        window.outline.selectRow(0, false);
        QTRY_COMPARE(merges.size(), 1);
        window.images->reloadCurrentlyViewedContents();
        QVERIFY(!window.images->isLoading());
        window.outline.selectRow(window.homeRow(), false);
        QTRY_COMPARE(merges.size(), 2);
        window.images->reloadCurrentlyViewedContents();
        QTRY_COMPARE(merges.size(), 3);
    }

    void movesItems_data() {
        QTest::addColumn<platform::IndexSet>("indexes");
        QTest::addColumn<int>("destination");
        QTest::addColumn<QString>("expected");
        QTest::newRow("both from before") << platform::IndexSet{1, 3} << 4 << QStringLiteral("PRQSTU");
        QTest::newRow("to the front") << platform::IndexSet{5} << 0 << QStringLiteral("UPQRST");
        QTest::newRow("to the end") << platform::IndexSet{0, 2} << 6 << QStringLiteral("QSTUPR");
        QTest::newRow("from both sides") << platform::IndexSet{0, 5} << 3 << QStringLiteral("QRPUST");
        QTest::newRow("in place") << platform::IndexSet{2, 3} << 2 << QStringLiteral("PQRSTU");
    }
    void movesItems() {
        QFETCH(platform::IndexSet, indexes);
        QFETCH(int, destination);
        Window window;
        for (const QChar letter : QStringLiteral("PQRSTU"))
            Window::subfolder(letter, 0);
        window.load(QDir::homePath());
        QVERIFY(window.images->imageBrowserMoveItemsAtIndexesToIndex(window.view, indexes,
                                                                     std::size_t(destination)));
        QTEST(window.titles().join(QString()), "expected");
    }

    void opensADoubleClickedFolderInTheOutline() {
        Window window;
        const QString path = window.subfolder(QStringLiteral("sub"), 2);
        window.outline.selectRow(window.homeRow(), false);
        QTRY_COMPARE(window.titles(), QStringList(QStringLiteral("sub")));
        window.images->imageBrowserCellWasDoubleClickedAtIndex(window.view, 0);
        QTRY_VERIFY(!window.images->isLoading());
        QVERIFY(window.showsExactly(path, 2));
        QCOMPARE(window.places.selectedItem()->fullPath(), path);
    }

    void opensAllSelectedFilesInOrder() {
        Window window;
        window.load(window.subfolder(QStringLiteral("p"), 4));
        QStringList opened;
        window.images->setImageWindowOpener([&](const QString& nib, ImageBrowserDataSource&,
                                                const QString& path) { opened += nib + path.back(); });
        window.images->imageBrowserCellWasDoubleClickedAtIndex(window.view, 2);
        QVERIFY(opened.isEmpty());
        window.view.setSelectionIndexes({3, 1}, false);
        window.images->imageBrowserCellWasDoubleClickedAtIndex(window.view, 2);
        QCOMPARE(opened, QStringList({QStringLiteral("ImageWindow1"), QStringLiteral("ImageWindow3")}));
    }
};

TAVLIN_TEST_MAIN(QApplication, ImageBrowserDataSourceTest)

#include "tst_image_browser_data_source.moc"
