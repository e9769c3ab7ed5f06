// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/GeneralHelpers.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

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
};

TAVLIN_TEST_MAIN(QCoreApplication, GeneralHelpersTest)
#include "tst_general_helpers.moc"
