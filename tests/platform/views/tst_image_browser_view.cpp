// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserView.h"

#include "platform/views/GridTestParts.h"
#include "testing/TestMain.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QLoggingCategory>
#include <QScrollBar>
#include <QSignalSpy>

#include <cmath>

using namespace Qt::StringLiterals;
using platform::ImageBrowserView;

namespace {

/// A shown grid over 300 files and all it works with.
struct Grid {
    explicit Grid(int count = 300) {
        source.fill(count);
        view.setAnimates(false);
        view.setDataSource(&source);
        view.setBrowserDelegate(&delegate);
        view.setThumbnailQueue(&queue);
        view.resize(560, 400);
        view.setZoomValue(0.2F);
        view.show();
        view.activateWindow();
        view.reloadData();
        view.setFocus();
        if (!QTest::qWaitForWindowActive(&view))
            QTest::qFail("the grid's window does not become active", __FILE__, __LINE__);
        QApplication::processEvents();
    }

    QModelIndex at(int index) const { return view.model()->index(index, 0); }
    QRect cell(int index) const { return view.visualRect(at(index)); }
    QString selected() const { return view.selectionIndexes().description(); }
    int current() const { return view.currentIndex().row(); }
    int firstVisible() const {
        for (int i = 0; i < view.model()->rowCount(); ++i)
            if (cell(i).bottom() >= 0)
                return i;
        return -1;
    }

    void click(int index, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, cell(index).center());
    }
    /// Press and release at a place, as a double-click's second half, without a first.
    void doubleClick(int index) {
        click(index);
        QTest::mouseDClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, cell(index).center());
    }
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&view, Qt::Key(key), modifiers);
    }
    void move(QPoint point, Qt::MouseButtons buttons = Qt::LeftButton) {
        QMouseEvent event(QEvent::MouseMove, point, view.viewport()->mapToGlobal(point), Qt::NoButton,
                          buttons, Qt::NoModifier);
        QApplication::sendEvent(view.viewport(), &event);
    }
    void reload(const std::function<void(GridTestSource&)>& change) {
        view.prepareForReload();
        change(source);
        view.reloadData();
    }

    platform::ThumbnailQueue queue;
    GridTestSource source;
    GridTestDelegate delegate;
    ImageBrowserView view;
};

}  // namespace

class ImageBrowserViewTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { QApplication::setDoubleClickInterval(250); }

    void model() {
        Grid grid;
        QAbstractItemModelTester tester(grid.view.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        grid.reload([](GridTestSource& source) { source.remove(3, 50); });
        grid.reload([](GridTestSource& source) { source.insertAt(0, u"/p/a\nb.jpg"_s); });
        QCOMPARE(grid.view.model()->rowCount(), 251);
        QCOMPARE(grid.at(0).data().toString(), u"a b.jpg"_s);
        grid.reload([](GridTestSource& source) { source.items.clear(); });
        QCOMPARE(grid.view.model()->rowCount(), 0);
    }

    void aFailingDataSourceEndsNothing() {
        QLoggingCategory::setFilterRules(u"tavlin.guard=false"_s);
        Grid grid;
        grid.source.items.resize(2);  // the list has changed and the grid was not told
        grid.view.viewport()->repaint();
        QCOMPARE(grid.at(7).data().toString(), QString());
        grid.view.setDataSource(nullptr);
        QCOMPARE(grid.view.model()->rowCount(), 0);
        QLoggingCategory::setFilterRules({});
    }

    void doubleClickReachesAllSelected() {
        Grid grid;
        grid.click(1);
        grid.click(3, Qt::ControlModifier);
        grid.click(5, Qt::ControlModifier);
        grid.doubleClick(3);
        QCOMPARE(grid.delegate.opened, std::vector<std::size_t>{3});
        QCOMPARE(grid.delegate.selectionsWhenOpened, QStringList{u"(1, 3, 5)"_s});
        QTest::qWait(QApplication::doubleClickInterval() + 50);  // nothing narrows it afterwards
        QCOMPARE(grid.selected(), u"(1, 3, 5)"_s);
        grid.doubleClick(7);
        QCOMPARE(grid.delegate.selectionsWhenOpened.last(), u"(7)"_s);
        grid.key(Qt::Key_Return);
        QCOMPARE(grid.delegate.opened, (std::vector<std::size_t>{3, 7, 7}));
    }

    void aClickOnOneOfSeveralNarrowsLate() {
        Grid grid;
        grid.view.setSelectionIndexes({1, 3, 5}, false);
        grid.click(3);
        QCOMPARE(grid.selected(), u"(1, 3, 5)"_s);
        QTRY_COMPARE_WITH_TIMEOUT(grid.selected(), u"(3)"_s, 1000);
        // What acts on the selection meanwhile acts on what the user has in mind.
        grid.view.setSelectionIndexes({1, 3, 5}, false);
        grid.click(5);
        grid.view.removeSelectedItems();
        QCOMPARE(grid.delegate.removed, QStringList{u"(5)"_s});
    }

    void rubberBand() {
        for (const auto& [modifier, selected] : {std::pair(Qt::NoModifier, u"(5-6, 9-10)"_s),
                                                 {Qt::ShiftModifier, u"(0, 5-6, 9-10)"_s},
                                                 {Qt::ControlModifier, u"(0, 5, 9-10)"_s}}) {
            Grid grid;
            grid.view.setSelectionIndexes({0, 6}, false);
            QWidget* const viewport = grid.view.viewport();
            QTest::mousePress(viewport, Qt::LeftButton, modifier, grid.cell(5).topLeft() - QPoint(3, 3));
            grid.move(grid.cell(11).center());
            grid.move(grid.cell(10).center());
            QCOMPARE(grid.selected(), selected);
            QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, grid.cell(10).center());
            QCOMPARE(grid.selected(), selected);
        }
    }

    void typeAheadOverAMillionHoldsNothingUp() {
        Grid grid(1'000'000);
        grid.source.items.back()->path = u"/p/last.jpg"_s;
        const auto processorMilliseconds = [] {
            timespec time{};
            ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
            return time.tv_sec * 1000 + time.tv_nsec / 1'000'000;
        };
        const auto before = processorMilliseconds();
        QTest::keyClicks(&grid.view, u"l"_s);
        QVERIFY2(processorMilliseconds() - before < 50, "the key's handler goes through all of them");
        QTRY_COMPARE(grid.current(), 999'999);
    }

    void reloadKeepsWhatStays() {
        struct Case {
            int removeFirst, removeCount;
            QString selected;
            int current;
        };
        for (const auto& [removeFirst, removeCount, selected, current] :
             {Case{0, 0, u"(100, 102, 140)"_s, 102}, Case{0, 8, u"(92, 94, 132)"_s, 94},
              Case{102, 1, u"(100, 139)"_s, 102}, Case{100, 60, u"()"_s, 100}, Case{100, 200, u"()"_s, 99}}) {
            Grid grid;
            grid.view.setSelectionIndexes({100, 102, 140}, false);
            grid.view.setCurrentIndex(grid.at(102));
            QSignalSpy counts(&grid.view, &ImageBrowserView::selectionCountChanged);
            QSignalSpy anew(&grid.view, &ImageBrowserView::selectedAnew);
            grid.reload([first = removeFirst, count = removeCount](GridTestSource& source) {
                source.remove(first, count);
            });
            QCOMPARE(grid.selected(), selected);
            QCOMPARE(grid.current(), current);
            QCOMPARE(counts.count(), selected.count(u',') == 2 ? 0 : 1);
            QCOMPARE(anew.count(), 0);
        }
    }

    void anItemMadeAnewIsAnother() {
        Grid grid;
        grid.view.setSelectionIndexes({3}, false);
        // The same file in another object, most likely at the very address of the first.
        grid.reload([](GridTestSource& source) {
            source.items[3].reset();
            source.items[3] = std::make_unique<GridTestItem>(GridTestSource::pathOf(3));
        });
        QCOMPARE(grid.selected(), u"()"_s);
    }

    void reloadKeepsThePlace() {
        Grid grid;
        grid.view.scrollTo(grid.at(160), QAbstractItemView::PositionAtTop);
        const int y = grid.cell(160).top();
        grid.reload([](GridTestSource& source) {
            for (int i = 0; i < 8; ++i)
                source.insertAt(0, u"/p/new%1.jpg"_s.arg(i));
        });
        QCOMPARE(grid.cell(168).top(), y);
        grid.reload([](GridTestSource& source) { source.remove(100, 72); });
        QCOMPARE(grid.cell(100).top(), y + grid.cell(4).top() - grid.cell(0).top());  // a row of it went
        grid.reload([](GridTestSource& source) {
            source.items.clear();
            source.fill(200);
        });
        QCOMPARE(grid.view.verticalScrollBar()->value(), 0);
    }

    void zoomAndSizeKeepTheirAnchor() {
        Grid grid;
        grid.view.verticalScrollBar()->setValue(1000);
        const int first = grid.firstVisible();
        const int top = grid.cell(first).top();
        for (const float zoom : {0.3F, 0.5F, 0.25F, 0.8F, 0.2F})
            grid.view.setZoomValue(zoom);
        QCOMPARE(grid.cell(first).top(), top);
        for (const int width : {640, 333, 560}) {
            grid.view.resize(width, 400);
            QCOMPARE(grid.cell(first).top(), top);
        }
    }

    /// Also where the last of a gliding zoom changes nothing any more.
    void wishesForWhatAZoomEndsIn() {
        Grid grid;
        const QueueScript& script = QueueScript::shared();
        grid.view.setAnimates(true);
        for (const float zoom : {0.02F, 0.0F}) {
            grid.view.setZoomValue(zoom);
            const auto isWhole = [&] {
                const int visible = int(script.visible.size());
                return visible > 0 && grid.cell(visible).top() >= 398;
            };
            QTRY_VERIFY(grid.cell(1).width() < 100 && isWhole());
        }
    }

    void wishes() {
        Grid grid;
        const QueueScript& script = QueueScript::shared();
        QTRY_VERIFY(script.wishCount > 0);
        const int visible = int(script.visible.size());
        QCOMPARE(script.visiblePaths().first(), GridTestSource::pathOf(0));
        QVERIFY(grid.cell(visible - 1).top() < 400 && grid.cell(visible).top() >= 398);
        QCOMPARE(script.visible.front().pixelSize, int(std::ceil(97 * grid.view.devicePixelRatioF())));

        // Many moves in one turn of the event loop are one wish list: this page, the next, the one before.
        const int before = script.wishCount;
        for (int y = 900; y < 1000; y += 10)
            grid.view.verticalScrollBar()->setValue(y);
        QTRY_COMPARE(script.wishCount, before + 1);
        const int first = grid.firstVisible();
        const int page = int(script.visible.size());
        QCOMPARE(script.visiblePaths().first(), GridTestSource::pathOf(first));
        QCOMPARE(script.nearPaths().size(), qsizetype(2 * page));
        QCOMPARE(script.nearPaths().first(), GridTestSource::pathOf(first + page));
        QCOMPARE(script.nearPaths().at(page), GridTestSource::pathOf(first - 1));

        const int checks = script.checkCount;
        grid.reload([](GridTestSource&) {});
        QTRY_COMPARE(script.checkCount, checks + 1);
    }
};

TAVLIN_TEST_MAIN(QApplication, ImageBrowserViewTest)
#include "tst_image_browser_view.moc"
