// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridSelection.h"
#include "platform/views/IndexSetAlgebra.h"

#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using platform::GridSelection;
using platform::IndexSet;
using Mode = GridSelection::Mode;

namespace {

struct Act {
    std::size_t index;
    Mode mode;
};
using Acts = std::vector<Act>;

}  // namespace
Q_DECLARE_METATYPE(Acts)

class GridSelectionTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    // Each operation against the same on booleans, over random sets.
    void algebra() {
        QRandomGenerator random(7);
        for (int round = 0; round < 300; ++round) {
            const auto make = [&](std::vector<bool>& bits) {
                IndexSet set;
                for (std::size_t i = 0; i < bits.size(); ++i)
                    if ((bits[i] = random.bounded(3) == 0))
                        set.insert(i);
                return set;
            };
            std::vector<bool> bitsA(24);
            std::vector<bool> bitsB(24);
            const IndexSet a = make(bitsA);
            const IndexSet b = make(bitsB);
            IndexSet both;
            IndexSet either;
            IndexSet onlyA;
            IndexSet one;
            for (std::size_t i = 0; i < bitsA.size(); ++i) {
                if (bitsA[i] && bitsB[i])
                    both.insert(i);
                if (bitsA[i] || bitsB[i])
                    either.insert(i);
                if (bitsA[i] && !bitsB[i])
                    onlyA.insert(i);
                if (bitsA[i] != bitsB[i])
                    one.insert(i);
            }
            QCOMPARE(platform::intersectionOf(a, b), both);
            QCOMPARE(platform::unionOf(a, b), either);
            QCOMPARE(platform::differenceOf(a, b), onlyA);
            QCOMPARE(platform::symmetricDifferenceOf(a, b), one);
        }
    }

    void rules_data() {
        QTest::addColumn<Acts>("acts");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<int>("current");
        const auto row = [](const char* name, const Acts& acts, const QString& selected, int current) {
            QTest::newRow(name) << acts << selected << current;
        };
        row("range turns round its anchor", {{4, Mode::replace}, {7, Mode::range}, {2, Mode::range}},
            QStringLiteral("(2-4)"), 2);
        row("range without an anchor", {{4, Mode::range}}, QStringLiteral("(4)"), 4);
        row("range drops what was picked before", {{1, Mode::replace}, {6, Mode::toggle}, {8, Mode::range}},
            QStringLiteral("(6-8)"), 8);
        row("moving on selects nothing", {{1, Mode::replace}, {4, Mode::moveCurrent}}, QStringLiteral("(1)"),
            4);
        row("moving on leaves the anchor", {{1, Mode::replace}, {4, Mode::moveCurrent}, {5, Mode::range}},
            QStringLiteral("(1-5)"), 5);
        row("beyond the end", {{1, Mode::replace}, {10, Mode::replace}}, QStringLiteral("(1)"), 1);
    }
    void rules() {
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

    // The toolkit's own selection model needs minutes for this.
    void manySinglePicksStayQuick() {
        GridSelection selection;
        selection.reset(1'000'000);
        IndexSet picks;
        for (std::size_t i = 0; i < 100'000; i += 2)
            picks.insert(i);
        selection.setIndexes(picks);
        QElapsedTimer clock;
        clock.start();
        for (std::size_t i = 500'000; i < 500'010; ++i)
            QCOMPARE(selection.select(i, Mode::toggle), IndexSet{i});
        // A few milliseconds; the bound leaves room for the sanitizers, not for a square.
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(selection.selectAll().count(), std::size_t(1'000'000 - 50'000 - 10));
        QCOMPARE(selection.indexes().ranges().size(), std::size_t(1));
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, GridSelectionTest)
#include "tst_grid_selection.moc"
