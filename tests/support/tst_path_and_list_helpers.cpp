// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Volumes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/PathAndListHelpers.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QRegularExpression>
#include <QTest>

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

class PathAndListHelpersTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
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
        QTest::addColumn<QString>("withoutEqual");
        QTest::addColumn<QString>("withoutContaining");
        const QString all = u"(a, , ab, B, 7, (a))"_s;
        QTest::newRow("") << u"(a, ab, B, 7, (a))"_s << all;
        QTest::newRow("a") << u"(, ab, B, 7, (a))"_s << u"(, B, 7, (a))"_s;
        QTest::newRow("b") << all << u"(a, , B, 7, (a))"_s;
        QTest::newRow("7") << all << all;
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

TAVLIN_TEST_MAIN(QCoreApplication, PathAndListHelpersTest)
#include "tst_path_and_list_helpers.moc"
