// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Volumes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/GeneralHelpers.h"
#include "support/PathAndListHelpers.h"
#include "testing/LogLines.h"
#include "testing/TestMain.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using platform::PropertyValue;

namespace platform {

/// In place of the desktop's own: neither sorted nor outside the home folder alone.
QList<Volume> mountedVolumes() {
    return {{u"/"_s, u"System"_s},
            {homeFolder() + u"/mnt"_s, u"Below home"_s},
            {u"/media/me/Photos/Nested"_s, u"Nested"_s},
            {u"/media/me/Photos"_s, u"Photos"_s},
            {u"/media/me/Camera"_s, u"Camera"_s}};
}

}  // namespace platform

class HelpersTest : public QObject {
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
            QCOMPARE(withoutPrefixes(log.taken()), expected);
        }
    }

    void escapesForUrls() {
        const QString legal = u"aZ09-_.!~*'();/?:@=+$,"_s;
        const QString other = u"& \"#%<>[]^`{|}\\ä"_s + QChar(0xDCE4);
        const QString escaped = u"%26%20%22%23%25%3C%3E%5B%5D%5E%60%7B%7C%7D%5C%C3%A4%E4"_s;
        QCOMPARE(urlencode(legal + other), legal + escaped);
        QCOMPARE(urldecode(legal + escaped + u"%2f%g0%1"_s), legal + other + u"/%g0%1"_s);
    }

    void fillsInTheLoginName() {
        LogLines log;
        const QString path = u"/Users/%1/100%@"_s.arg(platform::loginName());
        QCOMPARE(getUserFolder(u"/Users/%@/100%%@"_s), path);
        QCOMPARE(log.taken(), QStringList(u"getUserFolder (657): pathToFolder: "_s + path));
    }

    void namesTheVolumeOfAPath() {
        const std::pair<QString, QString> rows[]{{u"/"_s, u"System"_s},
                                                 {u"/media/me/Camera"_s, u"Camera"_s},
                                                 {u"/media/me/Photos"_s, u"Photos"_s},
                                                 {u"/media"_s, u"Photos"_s},
                                                 {u"/media/me/Camera/DCIM"_s, {}},
                                                 {platform::homeFolder(), {}}};
        for (const auto& [path, name] : rows) {
            LogLines log;
            QCOMPARE(volumeNameForPath(path).value_or(QString()), name);
            const QString lines = withoutPrefixes(log.taken()).join(u'\n');
            QVERIFY(lines.startsWith(u"inPath: "_s + path + u"\nfound path: /"_s));
            QCOMPARE(lines.endsWith(u"\npath matches!\nvolumeName: "_s + name), !name.isNull());
        }
    }

    void leavesTextsOut_data() {
        const Table<QString, QString> row("withoutEqual", "withoutContaining");
        const QString all = u"(a, , ab, B, 7, (a))"_s;
        row("", u"(a, ab, B, 7, (a))"_s, all);
        row("a", u"(, ab, B, 7, (a))"_s, u"(, B, 7, (a))"_s);
        row("b", all, u"(a, , B, 7, (a))"_s);
        row("7", all, all);
    }
    void leavesTextsOut() {
        const QString string = QString::fromLatin1(QTest::currentDataTag());
        const std::vector<PropertyValue> array{u"a"_s, u""_s, u"ab"_s,
                                               u"B"_s, 7,     PropertyValue::Array{{u"a"_s}}};
        const auto described = [](const std::vector<PropertyValue>& elements) {
            return PropertyValue(PropertyValue::Array{elements}).description();
        };
        LogLines log;
        QTEST(described(createNewArrayFromArrayWithoutStringContaining(array, string)), "withoutContaining");
        log.taken();
        QTEST(described(createNewArrayFromArrayWithoutString(array, string)), "withoutEqual");
        QCOMPARE(
            withoutPrefixes(log.taken()).join(u'|'),
            u"Start!|s: a|s: |s: ab|s: B|s: 7|classname is not NSString, but NSCFNumber, adding anyway.|s: (a)|"_s
            u"classname is not NSString, but NSCFArray, adding anyway.|Ende!"_s);
    }

 private:
    static QStringList withoutPrefixes(QStringList lines) {
        return lines.replaceInStrings(QRegularExpression(u"^\\w+ \\(\\d+\\): "_s), {});
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, HelpersTest)
#include "tst_helpers.moc"
