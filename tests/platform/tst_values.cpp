// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Guard.h"
#include "platform/IndexSet.h"
#include "testing/LogLines.h"

#include <QRandomGenerator>
#include <QTest>

#include <set>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;
using platform::guarded;
using platform::IndexSet;

class ValuesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    /// Against the simplest set there is, after each of many random insertions.
    void indexSetEqualsAPlainSet() {
        QRandomGenerator random(20240229);
        IndexSet set;
        std::set<std::size_t> plain;
        for (int i = 0; i < 1000; ++i) {
            if (i % 20 == 0)
                std::tie(set, plain) = std::tuple(IndexSet(), std::set<std::size_t>());
            const std::size_t first = random.bounded(60U);
            const std::size_t last = first + random.bounded(5U);
            set.insertRange(first, last);
            for (std::size_t index = first; index <= last; ++index)
                plain.insert(index);

            std::vector<std::size_t> ascending;
            std::vector<std::size_t> descending;
            set.forEach([&](std::size_t index) { ascending.push_back(index); });
            set.forEachDescending([&](std::size_t index) { descending.push_back(index); });
            QCOMPARE(ascending, std::vector(plain.begin(), plain.end()));
            QCOMPARE(descending, std::vector(plain.rbegin(), plain.rend()));
            QCOMPARE(set.count(), plain.size());
            for (std::size_t index = 0; index < 70; ++index)
                QCOMPARE(set.contains(index), plain.contains(index));
            for (std::size_t run = 1; run < set.ranges().size(); ++run)
                QVERIFY(set.ranges()[run - 1].last + 1 < set.ranges()[run].first);
        }
        QCOMPARE(IndexSet({4, 0, 2, 5}).description(), u"(0, 2, 4-5)"_s);
    }

    void guardEndsWhatIsThrown() {
        LogLines log;
        QCOMPARE(guarded("count", -1, [] { return 7; }), 7);
        QCOMPARE(guarded("count", -1, []() -> int { throw std::out_of_range("no such item"); }), -1);
        guarded("action", [] { throw 7; });
        QCOMPARE(log.taken(), QStringList({u"count ended early: no such item"_s,
                                           u"action ended early: an exception of no known kind"_s}));
    }
};

QTEST_APPLESS_MAIN(ValuesTest)
#include "tst_values.moc"
