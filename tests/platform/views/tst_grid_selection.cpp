// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridSelection.h"
#include "platform/views/IndexSetAlgebra.h"

#include "testing/TestHome.h"

#include <QCoreApplication>
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
};

TAVLIN_TEST_MAIN(QCoreApplication, GridSelectionTest)
#include "tst_grid_selection.moc"
