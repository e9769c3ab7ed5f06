// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridLayout.h"
#include "platform/views/GridSelection.h"
#include "platform/views/IndexSetAlgebra.h"

#include "testing/TestMain.h"

#include <limits>

using platform::GridLayout;
using platform::GridSelection;
using platform::GridStep;
using platform::IndexSet;
using Mode = GridSelection::Mode;

namespace {

GridLayout makeLayout(QSize viewport, int side, std::size_t count,
                      Qt::LayoutDirection direction = Qt::LeftToRight) {
    GridLayout layout;
    layout.setViewportSize(viewport);
    layout.setThumbnailSide(side);
    layout.setTitleHeight(16);
    layout.setCount(count);
    layout.setDirection(direction);
    return layout;
}

struct Act {
    std::size_t index;
    Mode mode;
};
using Acts = std::vector<Act>;

}  // namespace
Q_DECLARE_METATYPE(Acts)

class GridRulesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    // Every cell is found again at its corners, and nothing between cells, in either direction.
    void pointsAndCells() {
        for (const bool rightToLeft : {false, true}) {
            const GridLayout layout =
                makeLayout({500, 300}, 100, 11, rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
            QCOMPARE(layout.columns(), std::size_t(3));
            QCOMPARE(layout.rows(), std::size_t(4));
            QCOMPARE(layout.cellRect(0, 0).left() > layout.cellRect(1, 0).left(), rightToLeft);
            for (std::size_t i = 0; i < layout.count(); ++i) {
                const QRect cell = layout.cellRect(i, 0);
                for (const QPoint& point : {cell.topLeft(), cell.bottomRight(), cell.center()})
                    QCOMPARE(layout.indexAt({point.x(), point.y()}), std::optional(i));
                QCOMPARE(layout.indexAt({cell.left() - 1, cell.top()}), std::nullopt);
                QCOMPARE(layout.indexAt({cell.right() + 1, cell.top()}), std::nullopt);
                QCOMPARE(layout.indexAt({cell.left(), cell.top() - 1}), std::nullopt);
                QCOMPARE(layout.indexAt({cell.left(), cell.bottom() + 1}), std::nullopt);
                QVERIFY(cell.contains(layout.thumbnailRect(cell)));
                QVERIFY(cell.contains(layout.titleRect(cell)));
                QVERIFY(!layout.titleRect(cell).intersects(layout.thumbnailRect(cell)));
            }
            const int missing = layout.cellRect(rightToLeft ? 9 : 11, 0).left() - (rightToLeft ? 200 : 0);
            QCOMPARE(layout.indexAt({missing, layout.cellRect(9, 0).top()}), std::nullopt);
            QCOMPARE(layout.contentHeight(),
                     qint64(layout.cellRect(10, 0).bottom() + 1 + GridLayout::margin));
        }
    }

    // Cells between two heights and in a rectangle, against a walk over all cells.
    void stretches() {
        for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            const GridLayout layout = makeLayout({420, 200}, 64, 23, direction);
            for (int top = -40; top < 900; top += 7)
                for (const int height : {1, 30, 333}) {
                    IndexSet between;
                    IndexSet inRect;
                    const QRect band(130, top, 120, height);
                    for (std::size_t i = 0; i < layout.count(); ++i) {
                        const QRect cell = layout.cellRect(i, 0);
                        if (cell.top() < top + height && cell.bottom() >= top)
                            between.insert(i);
                        if (cell.intersects(band))
                            inRect.insert(i);
                    }
                    IndexSet answered;
                    if (const auto range = layout.indexesBetween(top, top + height))
                        answered.insertRange(range->first, range->last);
                    QCOMPARE(answered, between);
                    QCOMPARE(layout.indexesInRect({band.right(), band.top()}, {band.left(), band.bottom()}),
                             inRect);
                }
        }
        QCOMPARE(makeLayout({420, 200}, 64, 0).indexesBetween(0, 200), std::nullopt);
    }

    void steps_data() {
        const Table<int, GridStep, int, int> row("from", "step", "leftToRight", "rightToLeft");
        // 11 items in rows of 3, 2 rows a page.
        row("right", 4, GridStep::right, 5, 3);
        row("right at a row's end", 5, GridStep::right, 6, 4);
        row("right at the end", 10, GridStep::right, 10, 9);
        row("left at the start", 0, GridStep::left, 0, 1);
        row("up", 4, GridStep::up, 1, 1);
        row("up in the first row", 2, GridStep::up, 2, 2);
        row("down", 4, GridStep::down, 7, 7);
        row("down beside the last row's end", 8, GridStep::down, 10, 10);
        row("down in the last row", 9, GridStep::down, 9, 9);
        row("page down", 1, GridStep::pageDown, 7, 7);
        row("page down beyond the end", 7, GridStep::pageDown, 10, 10);
        row("page up", 10, GridStep::pageUp, 4, 4);
        row("page up beyond the start", 4, GridStep::pageUp, 1, 1);
        row("first", 7, GridStep::first, 0, 0);
        row("last", 7, GridStep::last, 10, 10);
    }
    void steps() {
        QFETCH(int, from);
        QFETCH(GridStep, step);
        GridLayout layout = makeLayout({500, 320}, 100, 11);
        QTEST(int(layout.indexAfterStep(std::size_t(from), step)), "leftToRight");
        layout.setDirection(Qt::RightToLeft);
        QTEST(int(layout.indexAfterStep(std::size_t(from), step)), "rightToLeft");
    }

    // More content than a scroll bar can count: every place is reachable, nothing overflows.
    void endlessContent() {
        const std::size_t count = 2'000'000'000;
        const GridLayout layout = makeLayout({200, 300}, 100, count);
        QVERIFY(layout.contentHeight() > qint64(std::numeric_limits<int>::max()) * 100);
        QCOMPARE(layout.offsetForScroll(layout.scrollMaximum()), layout.greatestOffset());
        QCOMPARE(layout.offsetForScroll(0), qint64{0});
        const qint64 offset = layout.offsetForScroll(layout.scrollForOffset(layout.rowTop(1'234'567'890)));
        QVERIFY(layout.cellRect(1'234'567'890, offset).top() <= 0);
        QVERIFY(layout.cellRect(1'234'567'890, offset).bottom() > 0 ||
                layout.cellRect(1'234'567'891, offset).bottom() > 0);
        QVERIFY(layout.cellRect(0, offset).bottom() < 0);
        QCOMPARE(layout.indexesBetween(layout.greatestOffset(), layout.contentHeight())->last, count - 1);
    }

    void selects_data() {
        const Table<Acts, QString, int> row("acts", "selected", "current");
        row("range turns round its anchor", {{4, Mode::replace}, {7, Mode::range}, {2, Mode::range}}, "(2-4)",
            2);
        row("range without an anchor", {{4, Mode::range}}, "(4)", 4);
        row("range drops what was picked before", {{1, Mode::replace}, {6, Mode::toggle}, {8, Mode::range}},
            "(6-8)", 8);
        row("moving on selects nothing", {{1, Mode::replace}, {4, Mode::moveCurrent}}, "(1)", 4);
        row("moving on leaves the anchor", {{1, Mode::replace}, {4, Mode::moveCurrent}, {5, Mode::range}},
            "(1-5)", 5);
        row("beyond the end", {{1, Mode::replace}, {10, Mode::replace}}, "(1)", 1);
    }
    void selects() {
        QFETCH(Acts, acts);
        GridSelection selection;
        selection.reset(10);
        for (const Act& act : acts) {
            const IndexSet before = selection.indexes();
            const IndexSet changed = selection.select(act.index, act.mode);
            QCOMPARE(changed, platform::symmetricDifferenceOf(before, selection.indexes()));
        }
        QTEST(selection.indexes().description(), "selected");
        QTEST(int(selection.current().value()), "current");
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, GridRulesTest)
#include "tst_grid_rules.moc"
