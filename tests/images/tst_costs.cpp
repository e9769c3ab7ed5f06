// SPDX-License-Identifier: GPL-3.0-or-later
// What a huge folder costs, in counts that are the same on every machine: questions to the file system,
// allocations, items asked for and cells painted. A cost per item or per pair that creeps in fails here.
#include "images/ImageMerge.h"
#include "images/ImageWalk.h"
#include "platform/views/GridTestParts.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "testing/TestMain.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QApplication>
#include <QPaintEvent>
#include <QScrollBar>

#include <atomic>

namespace {

std::atomic<long> statusCount = 0;
std::atomic<long> otherCount = 0;  // of questions that are not statx()
std::atomic<long> allocationCount = 0;

/// What a piece of work adds to a counter.
template <typename Work>
long countOf(const std::atomic<long>& counter, const Work& work) {
    const long before = counter;
    work();
    return counter - before;
}

/// The grid of a huge folder, scrolled into its middle; the items it asks for are counted.
struct CountedGrid : GridTestSource {
    CountedGrid() {
        fill(20'000);
        view.setThumbnailQueue(&queue);
        view.setAnimates(false);
        view.setZoomValue(0.2F);
        view.setDataSource(this);
        view.resize(560, 400);
        view.show();
        view.reloadData();
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum() / 2);
        settle();
        static_cast<void>(QTest::qWaitFor([] { return !QueueScript::shared().visible.empty(); }));
        static_cast<void>(QTest::qWaitForWindowExposed(&view));
        settle();
        visible = long(QueueScript::shared().visible.size());
        asked = 0;
    }
    void settle() {
        view.viewport()->repaint();
        QApplication::processEvents();
    }
    platform::ImageBrowserItem* imageBrowserItemAtIndex(platform::ImageBrowserView& browser,
                                                        std::size_t index) override {
        ++asked;
        return GridTestSource::imageBrowserItemAtIndex(browser, index);
    }
    platform::ThumbnailQueue queue;
    platform::ImageBrowserView view;
    long visible = 0;
    long asked = 0;
};

using Action = void (*)(CountedGrid&);

struct PaintCounter : QObject {
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            area += static_cast<QPaintEvent*>(event)->region().boundingRect().height();
        return false;
    }
    long area = 0;
};

}  // namespace

// These stand before the C library's own: what the program and its libraries ask by name passes here, save
// for opendir(). The sanitizers need some of them themselves.
extern "C" int statx(int folder, const char* path, int flags, unsigned mask, struct statx* status) {
    ++statusCount;
    return int(::syscall(SYS_statx, folder, path, flags, mask, status));
}
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define COUNTS_ALLOCATIONS
extern "C" void* __libc_malloc(std::size_t);  // NOLINT(bugprone-reserved-identifier)
extern "C" void* malloc(std::size_t size) {
    ++allocationCount;
    return __libc_malloc(size);
}
#define ASKS(signature, ...)                \
    extern "C" int signature {              \
        ++otherCount;                       \
        return int(::syscall(__VA_ARGS__)); \
    }
ASKS(stat(const char* path, struct stat* status), SYS_newfstatat, AT_FDCWD, path, status, 0)
ASKS(stat64(const char* path, struct stat64* status), SYS_newfstatat, AT_FDCWD, path, status, 0)
ASKS(lstat(const char* path, struct stat* status), SYS_newfstatat, AT_FDCWD, path, status,
     AT_SYMLINK_NOFOLLOW)
ASKS(lstat64(const char* path, struct stat64* status), SYS_newfstatat, AT_FDCWD, path, status,
     AT_SYMLINK_NOFOLLOW)
ASKS(fstatat(int folder, const char* path, struct stat* status, int flags), SYS_newfstatat, folder, path,
     status, flags)
ASKS(access(const char* path, int mode), SYS_faccessat, AT_FDCWD, path, mode)
ASKS(open(const char* path, int flags, ...), SYS_openat, AT_FDCWD, path, flags, 0600)
ASKS(open64(const char* path, int flags, ...), SYS_openat, AT_FDCWD, path, flags, 0600)
ASKS(openat(int folder, const char* path, int flags, ...), SYS_openat, folder, path, flags, 0600)
ASKS(openat64(int folder, const char* path, int flags, ...), SYS_openat, folder, path, flags, 0600)
#endif

class CostsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        appGlobals = PreferencesDictionary::dictionary();
        for (int i = 0; i < 5'000; ++i) {
            const QDir folder(QDir::home().filePath(QStringLiteral("f/%1").arg(i / 500)));
            QVERIFY(folder.mkpath(QStringLiteral(".")));
            QVERIFY(QFile(folder.filePath(QStringLiteral("IMG_%1.jpg").arg(i))).open(QIODevice::WriteOnly));
        }
    }

    void aWalkAsksForEachEntryOnce() {
        constexpr long files = 5'000;
        constexpr long folders = 11;
        ImageWalk walk;
        ImageList images;
        const QString root = QDir::home().filePath(QStringLiteral("f"));
        [[maybe_unused]] const long others = otherCount;
        const long allocations = countOf(allocationCount, [&] {
            const long questions = countOf(statusCount, [&] { walk.addImagesWithPathRecursive(root, true); });
            QCOMPARE(questions, files + folders + 1);
            images = walk.takeImages();
        });
        QCOMPARE(long(images.size()), files);
#ifdef COUNTS_ALLOCATIONS
        QVERIFY2(allocations >= 2 * files, "the counter does not count");
        QCOMPARE(otherCount - others, folders);  // each is opened
#endif
        QVERIFY2(allocations < files * 5 / 2, qPrintable(QString::number(allocations)));
        const auto imported = std::make_shared<const ImageList>(images);
        for (const auto order : {ImageSortOrder::title, ImageSortOrder::modificationTime}) {
            const long merging = countOf(allocationCount, [&] { preparedMerge(imported, imported, order); });
            QVERIFY2(merging < 20, qPrintable(QString::number(merging)));
        }
        QCOMPARE(countOf(allocationCount, [&] { logWithMethodName("-[A b]", 1, u"path: %@ (%i)", root, 5); }),
                 0);
    }

    void theGridAsksForWhatItShows_data() {
        QTest::addColumn<Action>("action");
        QTest::addColumn<bool>("asksForMore");
        const auto row = [](const char* name, Action action, bool asksForMore = true) {
            QTest::newRow(name) << action << asksForMore;
        };
        row("scrolling", [](CountedGrid& grid) {
            grid.view.verticalScrollBar()->setValue(grid.view.verticalScrollBar()->value() + 40);
        });
        row("resizing", [](CountedGrid& grid) { grid.view.resize(700, 420); });
        row("zooming", [](CountedGrid& grid) { grid.view.setZoomValue(0.25F); });
        row(
            "selecting all", [](CountedGrid& grid) { grid.view.selectAll(); }, false);
        row("changed data", [](CountedGrid& grid) {
            grid.view.model()->dataChanged(grid.view.model()->index(0, 0),
                                           grid.view.model()->index(19'999, 0));
        });
    }
    void theGridAsksForWhatItShows() {
        QFETCH(Action, action);
        CountedGrid grid;
        QVERIFY(grid.visible > 8);
        action(grid);
        grid.settle();
        QFETCH(bool, asksForMore);
        const bool isWithin = grid.asked < 20 * grid.visible && (grid.asked > 0 || !asksForMore);
        QVERIFY2(isWithin, qPrintable(QString::number(grid.asked)));
    }

    void aScrollStepPaintsAStrip() {
        CountedGrid grid;
        PaintCounter paints(grid.view.viewport());
        grid.view.verticalScrollBar()->setValue(grid.view.verticalScrollBar()->value() + 40);
        QApplication::processEvents();
        QVERIFY2(paints.area > 0 && paints.area <= 80, qPrintable(QString::number(paints.area)));
    }

    void aReloadOfTheSamePaintsNothing() {
        CountedGrid grid;
        PaintCounter paints(grid.view.viewport());
        const int checks = QueueScript::shared().checkCount;
        grid.view.prepareForReload();
        grid.view.reloadData();
        QTRY_COMPARE(QueueScript::shared().checkCount, checks + 1);
        QCOMPARE(paints.area, 0);
        // One picture for each visible cell, as before.
        QCOMPARE(long(QueueScript::shared().visible.size()), grid.visible);
        QStringList paths = QueueScript::shared().visiblePaths();
        QCOMPARE(paths.removeDuplicates(), 0);
    }
};

TAVLIN_TEST_MAIN(QApplication, CostsTest)

#include "tst_costs.moc"
