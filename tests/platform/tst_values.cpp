// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Guard.h"
#include "platform/IndexSet.h"
#include "platform/PropertyValue.h"
#include "testing/LogLines.h"

#include <QRandomGenerator>
#include <QTest>

#include <set>
#include <stdexcept>
#include <vector>

using platform::guarded;
using platform::IndexSet;
using platform::PropertyValue;

class ValuesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void indexSetDescribesItsRuns_data();
    void indexSetDescribesItsRuns();
    void indexSetEqualsAPlainSet();
    void guardEndsWhatIsThrown();
    void propertyValueNamesAndDescribesItself_data();
    void propertyValueNamesAndDescribesItself();
};

void ValuesTest::indexSetDescribesItsRuns_data() {
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* expected, const IndexSet& set) {
        QTest::newRow(expected) << set.description() << QString::fromLatin1(expected);
    };
    row("()", {});
    row("(0)", {0});
    row("(1-2)", {2, 1, 2});
    row("(0-2)", {0, 2, 1});
    row("(0, 2, 4-5)", {4, 0, 2, 5});
    IndexSet covered{1, 3, 5, 9};
    covered.insertRange(2, 7);
    row("(1-7, 9)", covered);
}

void ValuesTest::indexSetDescribesItsRuns() {
    QFETCH(QString, description);
    QTEST(description, "expected");
}

/// Against the simplest set there is, after each of many random insertions.
void ValuesTest::indexSetEqualsAPlainSet() {
    QRandomGenerator random(20240229);
    for (int round = 0; round < 50; ++round) {
        IndexSet set;
        std::set<std::size_t> plain;
        for (int i = 0; i < 20; ++i) {
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
            QCOMPARE(set.firstIndex(), *plain.begin());
            QCOMPARE(set.lastIndex(), *plain.rbegin());
            for (std::size_t index = 0; index < 70; ++index)
                QCOMPARE(set.contains(index), plain.contains(index));
            for (std::size_t run = 1; run < set.ranges().size(); ++run)
                QVERIFY(set.ranges()[run - 1].last + 1 < set.ranges()[run].first);
        }
    }
}

void ValuesTest::guardEndsWhatIsThrown() {
    LogLines log;
    QCOMPARE(guarded("count", -1, [] { return 7; }), 7);
    QVERIFY(log.taken().isEmpty());
    QCOMPARE(guarded("count", -1, []() -> int { throw std::out_of_range("no such item"); }), -1);
    guarded("action", [] { throw 7; });
    QCOMPARE(log.taken(), QStringList({QStringLiteral("count ended early: no such item"),
                                       QStringLiteral("action ended early: an exception of no known kind")}));
}

void ValuesTest::propertyValueNamesAndDescribesItself_data() {
    QTest::addColumn<QString>("className");
    QTest::addColumn<QString>("expectedClass");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* className, const PropertyValue& value, const char* description) {
        QTest::addRow("%s %s", className, description)
            << value.className() << QString::fromLatin1(className) << value.description()
            << QString::fromUtf8(description);
    };
    const auto text = [](const char* latin1) {
        return PropertyValue(QString::fromLatin1(latin1));
    };
    row("NSNull", {}, "<null>");
    row("NSCFString", text("a b"), "a b");
    row("NSCFString", text(""), "");
    row("NSCFNumber", std::int64_t{-6'000'000'000}, "-6000000000");
    row("NSCFNumber", 0.004, "0.004");
    row("NSCFNumber", 6000.0, "6000");
    row("NSCFNumber", 2.8, "2.8");
    row("NSCFBoolean", PropertyValue::Boolean{true}, "1");
    row("NSCFDate", QDateTime(QDate(2024, 2, 29), QTime(1, 2, 3, 4), Qt::UTC), "2024-02-29T01:02:03.004Z");
    row("NSCFData", QByteArray("\x00\xff", 2), "<00ff>");
    row("NSCFArray", PropertyValue::Array{{text("a"), 1}}, "(a, 1)");
    row("NSArray", PropertyValue::Array{{}, PropertyValue::ArrayKind::plain}, "()");
    row("NSCFDictionary",
        PropertyValue::Dictionary{
            {{QStringLiteral("z"), 1}, {QStringLiteral("a"), PropertyValue::Array{{2}}}}},
        "{z = 1; a = (2); }");
}

void ValuesTest::propertyValueNamesAndDescribesItself() {
    QFETCH(QString, className);
    QTEST(className, "expectedClass");
    QFETCH(QString, description);
    QTEST(description, "expected");
}

QTEST_APPLESS_MAIN(ValuesTest)
#include "tst_values.moc"
