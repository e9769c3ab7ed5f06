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

#include <array>

using platform::PropertyDictionary;
using platform::PropertyValue;

class GeneralHelpersTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void checksIPv4Addresses_data();
    void checksIPv4Addresses();
    void listsTheHostsAddresses();
    void escapesForUrls_data();
    void escapesForUrls();
    void copiesContainersOnly();
    void drawsProgress_data();
    void drawsProgress();
    void copiesAsciiThatFits();
};

void GeneralHelpersTest::initTestCase() {
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
}

void GeneralHelpersTest::checksIPv4Addresses_data() {
    QTest::addColumn<std::optional<QString>>("address");
    QTest::addColumn<QStringList>("problems");
    const QString ok = QStringLiteral("OK");
    const QString illegal = QStringLiteral("illegal characters");
    const QString invalid = QStringLiteral("invalid characters");
    const QString dots = QStringLiteral("wrong count of dots");
    const QString numeric = QStringLiteral("invalid numeric component");
    const auto row = [](const QString& address, const QStringList& problems) {
        QTest::newRow(qPrintable(address.left(30))) << std::optional(address) << problems;
    };
    QTest::newRow("none") << std::optional<QString>() << QStringList{illegal};
    row(QStringLiteral("192.168.0.1"), {ok});
    row(QStringLiteral("..."), {ok});
    row(QStringLiteral("000255.0.0.0"), {ok});
    row(QStringLiteral("256.1.1.1"), {numeric});
    row(QStringLiteral("1.1.1.99999999999999999999"), {numeric});
    row(QStringLiteral("1.2.3"), {dots});
    row(QStringLiteral("1.2.3.a"), {invalid});
    row(QStringLiteral("::1"), {invalid, dots});
    row(QStringLiteral("1.2.3.ä"), {illegal});
    row(QString(252, u'0') + QStringLiteral("..."), {ok});
    row(QString(253, u'0') + QStringLiteral("..."), {illegal});
}

void GeneralHelpersTest::checksIPv4Addresses() {
    QFETCH(std::optional<QString>, address);
    QFETCH(QStringList, problems);
    const QString shown = address.value_or(QStringLiteral("(null)"));
    const bool isOk = problems.first() == u"OK";
    QStringList expected;
    for (const QString& problem : problems)
        expected +=
            isOk ? QStringLiteral("isIPv4AddressString: Addressstring %1 is OK!").arg(shown)
                 : QStringLiteral("isIPv4AddressString: Addressstring: %1 is no valid IPv4 address, %2.")
                       .arg(shown, problem);
    LogLines log;
    QCOMPARE(isIPv4AddressString(address), isOk);
    QCOMPARE(log.taken().replaceInStrings(QRegularExpression(QStringLiteral(" \\(\\d+\\): ")),
                                          QStringLiteral(": ")),
             expected);
}

void GeneralHelpersTest::listsTheHostsAddresses() {
    const LogLines log;
    const QStringList all = getAllAddresses();
    QCOMPARE(getPrimaryAddress(), all.isEmpty() ? std::nullopt : std::optional(all.first()));
    QStringList withDots;
    for (const QString& address : all)
        if (!address.contains(u':'))
            withDots += address;
    QCOMPARE(getAllIPv4Addresses(), withDots);
    if (!withDots.contains(QStringLiteral("127.0.0.1")))
        QSKIP("This host has no loopback address.");
    QVERIFY(all.first() == u"127.0.0.1" || !all.first().startsWith(u"127."));
}

void GeneralHelpersTest::escapesForUrls_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");
    QTest::newRow("legal") << QStringLiteral("aZ09-_.!~*'();/?:@=+$,")
                           << QStringLiteral("aZ09-_.!~*'();/?:@=+$,");
    QTest::newRow("ampersand") << QStringLiteral("a&b") << QStringLiteral("a%26b");
    QTest::newRow("illegal") << QStringLiteral(" \"#%<>[]^`{|}\\")
                             << QStringLiteral("%20%22%23%25%3C%3E%5B%5D%5E%60%7B%7C%7D%5C");
    QTest::newRow("UTF-8") << QStringLiteral("ä€") << QStringLiteral("%C3%A4%E2%82%AC");
    QTest::newRow("not UTF-8") << QString(QChar(0xDCE4)) << QStringLiteral("%E4");
    QTest::newRow("empty") << QString() << QString();
}

void GeneralHelpersTest::escapesForUrls() {
    QFETCH(QString, text);
    QFETCH(QString, escaped);
    QCOMPARE(urlencode(text), escaped);
    QCOMPARE(urldecode(escaped), text);
    QCOMPARE(urldecode(escaped.toLower()), text.toLower());
    QCOMPARE(urldecode(escaped + QStringLiteral("%g0%1")), text + QStringLiteral("%g0%1"));
}

void GeneralHelpersTest::copiesContainersOnly() {
    const PropertyValue text(QStringLiteral("text"));
    const PropertyValue plain = PropertyValue::Array{{text}, PropertyValue::ArrayKind::plain};
    const PropertyValue array = PropertyValue::Array{{text, PropertyValue::Array{}, 7}};
    const PropertyValue dictionary = PropertyValue::Dictionary{
        {{QStringLiteral("n"), 1}, {QStringLiteral("a"), array}, {QStringLiteral("p"), plain}}};
    LogLines log;
    const PropertyValue copy = PropertyValue::Array{mutableCopyOfArray({text, array, plain, dictionary, 7})};
    QCOMPARE(copy.description(), QStringLiteral("((()), {n = 1; a = (()); p = (text); })"));
    QCOMPARE(log.taken().filter(QStringLiteral("): Foo...")).size(), 5);

    PropertyDictionary entries{{QStringLiteral("d"), dictionary}, {QStringLiteral("t"), text}};
    QCOMPARE(&makeAllContainedDictionaryObjectsMutable(entries), &entries);
    QCOMPARE(PropertyValue(PropertyValue::Dictionary{entries}).description(),
             QStringLiteral("{d = {n = 1; a = (()); p = (text); }; t = text; }"));
    QCOMPARE(log.taken().filter(QStringLiteral("): ...bar")).size(), 2);
}

void GeneralHelpersTest::drawsProgress_data() {
    QTest::addColumn<int>("percent");
    QTest::addColumn<int>("barEnd");
    // The bar starts after one pixel and ends one before its share of 100 pixels.
    QTest::newRow("0") << 0 << 1;
    QTest::newRow("below 0") << -50 << 1;
    QTest::newRow("2") << 2 << 1;
    QTest::newRow("3") << 3 << 2;
    QTest::newRow("50") << 50 << 49;
    QTest::newRow("100") << 100 << 99;
    QTest::newRow("200") << 200 << 100;
    QTest::newRow("most") << std::numeric_limits<int>::max() << 100;
}

void GeneralHelpersTest::drawsProgress() {
    QFETCH(int, percent);
    QFETCH(int, barEnd);
    const QImage image = progressImageWithPercent(percent, 100, 9);
    QCOMPARE(image.size(), QSize(100, 9));
    const QColor bar = QPalette().color(QPalette::Highlight);
    for (int x = 0; x < 100; ++x) {
        const bool isFrame = x == 0 || x == 99;
        const QColor rest = isFrame ? QColor(Qt::black) : QColor(170, 170, 170);
        QCOMPARE(image.pixelColor(x, 4), x >= 1 && x < barEnd ? bar : rest);
        QCOMPARE(image.pixelColor(x, 0), QColor(Qt::black));
    }
    QVERIFY(progressImageWithPercent(percent, 0, 9).isNull());
}

void GeneralHelpersTest::copiesAsciiThatFits() {
    std::array<char, 4> buffer{'x', 'x', 'x', 'x'};
    QVERIFY(!getCString(QStringLiteral("abcd"), buffer.data(), 4));
    QVERIFY(!getCString(QStringLiteral("ä"), buffer.data(), 4));
    QVERIFY(!getCString(QString(), buffer.data(), 0));
    QCOMPARE(buffer, (std::array{'x', 'x', 'x', 'x'}));
    QVERIFY(getCString(QStringLiteral("abc"), buffer.data(), 4));
    QCOMPARE(buffer, (std::array{'a', 'b', 'c', '\0'}));
}

TAVLIN_TEST_MAIN(QGuiApplication, GeneralHelpersTest)
#include "tst_general_helpers.moc"
