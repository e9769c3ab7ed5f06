// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/GeneralHelpers.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QGuiApplication>
#include <QPalette>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::PropertyDictionary;
using platform::PropertyValue;

class GeneralHelpersTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    }

    void checksIPv4Addresses() {
        const std::pair<std::optional<QString>, QString> rows[]{
            {std::nullopt, u"illegal characters"_s},
            {u"192.168.0.1"_s, {}},
            {u"..."_s, {}},
            {u"256.1.1.1"_s, u"invalid numeric component"_s},
            {u"1.1.1.99999999999999999999"_s, u"invalid numeric component"_s},
            {u"1.2.3"_s, u"wrong count of dots"_s},
            {u"1.2.3.a"_s, u"invalid characters"_s},
            {u"::1"_s, u"invalid characters, wrong count of dots"_s},
            {u"1.2.3.ä"_s, u"illegal characters"_s},
            {QString(252, u'0') + u"..."_s, {}},
            {QString(253, u'0') + u"..."_s, u"illegal characters"_s}};
        for (const auto& [address, problems] : rows) {
            const QString shown = address.value_or(u"(null)"_s);
            QStringList expected;
            for (const QString& problem : problems.split(u", "_s, Qt::SkipEmptyParts))
                expected += u"Addressstring: %1 is no valid IPv4 address, %2."_s.arg(shown, problem);
            if (problems.isNull())
                expected += u"Addressstring %1 is OK!"_s.arg(shown);
            LogLines log;
            QCOMPARE(isIPv4AddressString(address), problems.isNull());
            const QRegularExpression prefix(u"^isIPv4AddressString \\(\\d+\\): "_s);
            QCOMPARE(log.taken().replaceInStrings(prefix, {}), expected);
        }
    }

    void escapesForUrls() {
        const QString legal = u"aZ09-_.!~*'();/?:@=+$,"_s;
        const QString other = u"& \"#%<>[]^`{|}\\ä"_s + QChar(0xDCE4);
        const QString escaped = u"%26%20%22%23%25%3C%3E%5B%5D%5E%60%7B%7C%7D%5C%C3%A4%E4"_s;
        QCOMPARE(urlencode(legal + other), legal + escaped);
        QCOMPARE(urldecode(legal + escaped + u"%2f%g0%1"_s), legal + other + u"/%g0%1"_s);
    }

    void copiesContainersOnly() {
        const PropertyValue text(u"text"_s);
        const PropertyValue plain = PropertyValue::Array{{text}, PropertyValue::ArrayKind::plain};
        const PropertyValue array = PropertyValue::Array{{text, PropertyValue::Array{}, 7}};
        const PropertyValue dictionary =
            PropertyValue::Dictionary{{{u"n"_s, 1}, {u"a"_s, array}, {u"p"_s, plain}}};
        LogLines log;
        const PropertyValue copy =
            PropertyValue::Array{mutableCopyOfArray({text, array, plain, dictionary, 7})};
        QCOMPARE(copy.description(), u"((()), {n = 1; a = (()); p = (text); })"_s);
        QCOMPARE(log.taken().filter(u"): Foo..."_s).size(), 5);

        PropertyDictionary entries{{u"d"_s, dictionary}, {u"t"_s, text}};
        QCOMPARE(&makeAllContainedDictionaryObjectsMutable(entries), &entries);
        QCOMPARE(PropertyValue(PropertyValue::Dictionary{entries}).description(),
                 u"{d = {n = 1; a = (()); p = (text); }; t = text; }"_s);
    }

    /// The bar starts after one pixel and ends one before its share of 100 pixels.
    void drawsProgress() {
        const QColor bar = QPalette().color(QPalette::Highlight);
        for (const auto& [percent, barEnd] :
             {std::pair(0, 1), {-50, 1}, {2, 1}, {3, 2}, {100, 99}, {INT_MAX, 100}}) {
            const QImage image = progressImageWithPercent(percent, 100, 9);
            QCOMPARE(image.size(), QSize(100, 9));
            for (int x = 0; x < 100; ++x) {
                const QColor rest = x % 99 == 0 ? QColor(Qt::black) : QColor(170, 170, 170);
                QCOMPARE(image.pixelColor(x, 4), x >= 1 && x < barEnd ? bar : rest);
                QCOMPARE(image.pixelColor(x, 0), QColor(Qt::black));
            }
        }
        QVERIFY(progressImageWithPercent(50, 0, 9).isNull());
    }
};

TAVLIN_TEST_MAIN(QGuiApplication, GeneralHelpersTest)
#include "tst_general_helpers.moc"
