// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Volumes.h"
#include "platform/FileAccess.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/PathAndListHelpers.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QRegularExpression>
#include <QTest>

using platform::PropertyValue;

namespace platform {

/// In place of the desktop's own: in mount order, so neither sorted nor outside the home folder alone.
QList<Volume> mountedVolumes() {
    return {{QStringLiteral("/"), QStringLiteral("System")},
            {homeFolder() + QStringLiteral("/mnt"), QStringLiteral("Below home")},
            {QStringLiteral("/media/me/Photos/Nested"), QStringLiteral("Nested")},
            {QStringLiteral("/media/me/Photos"), QStringLiteral("Photos")},
            {QStringLiteral("/media/me/Camera"), QStringLiteral("Camera")}};
}

}  // namespace platform

class PathAndListHelpersTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void fillsInTheLoginName_data();
    void fillsInTheLoginName();
    void findsUserFoldersOnThisDesktop();
    void namesTheVolumeOfAPath_data();
    void namesTheVolumeOfAPath();
    void leavesTextsOut_data();
    void leavesTextsOut();
};

void PathAndListHelpersTest::initTestCase() {
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
}

void PathAndListHelpersTest::fillsInTheLoginName_data() {
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("expected");
    const QString login = platform::loginName();
    QTest::newRow("one") << QStringLiteral("/Users/%@/Pictures")
                         << QStringLiteral("/Users/%1/Pictures").arg(login);
    QTest::newRow("none") << QStringLiteral("/data/Tavlin") << QStringLiteral("/data/Tavlin");
    QTest::newRow("doubled") << QStringLiteral("/a%%@b/100%%") << QStringLiteral("/a%@b/100%");
}

void PathAndListHelpersTest::fillsInTheLoginName() {
    QFETCH(QString, format);
    QFETCH(QString, expected);
    LogLines log;
    QCOMPARE(getUserFolder(format), expected);
    QCOMPARE(log.taken(), QStringList(QStringLiteral("getUserFolder (657): pathToFolder: ") + expected));
}

void PathAndListHelpersTest::findsUserFoldersOnThisDesktop() {
    if (platform::isExistingFolder(QStringLiteral("/Users/") + platform::loginName()))
        QSKIP("This system keeps its homes in /Users.");
    const QString home = platform::homeFolder();
    qputenv("XDG_DATA_HOME", QFile::encodeName(home + QStringLiteral("/50%/da%@ta")));
    const auto folder = [](UserFolder which) {
        return getUserFolder(userFolderTemplate(which));
    };
    QCOMPARE(folder(UserFolder::scripts), home + QStringLiteral("/50%/da%@ta/Tavlin/Scripts"));
    QCOMPARE(folder(UserFolder::applicationSupport), home + QStringLiteral("/50%/da%@ta/Tavlin"));
    QVERIFY(QFileInfo(home + QStringLiteral("/50%/da%@ta")).isDir());
    QVERIFY(!QFileInfo::exists(folder(UserFolder::applicationSupport)));
    QCOMPARE(folder(UserFolder::pictures), home + QStringLiteral("/Pictures"));
}

void PathAndListHelpersTest::namesTheVolumeOfAPath_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::newRow("root") << QStringLiteral("/") << QStringLiteral("System");
    QTest::newRow("a volume's root") << QStringLiteral("/media/me/Camera") << QStringLiteral("Camera");
    QTest::newRow("a nested one mounted first")
        << QStringLiteral("/media/me/Photos") << QStringLiteral("Photos");
    QTest::newRow("above several of one length") << QStringLiteral("/media") << QStringLiteral("Photos");
    QTest::newRow("within a volume") << QStringLiteral("/media/me/Camera/DCIM") << QString();
    QTest::newRow("home with a mount below") << platform::homeFolder() << QString();
}

void PathAndListHelpersTest::namesTheVolumeOfAPath() {
    QFETCH(QString, path);
    QFETCH(QString, name);
    LogLines log;
    QCOMPARE(volumeNameForPath(path).value_or(QString()), name);
    const QString lines =
        log.taken().replaceInStrings(QRegularExpression(QStringLiteral(" \\(\\d+\\)")), {}).join(u'\n');
    QVERIFY(lines.startsWith(
        QStringLiteral("volumeNameForPath: inPath: %1\nvolumeNameForPath: found path: /").arg(path)));
    QCOMPARE(
        lines.endsWith(QStringLiteral("\nvolumeNameForPath: path matches!\nvolumeNameForPath: volumeName: %1")
                           .arg(name)),
        !name.isNull());
}

void PathAndListHelpersTest::leavesTextsOut_data() {
    QTest::addColumn<QString>("string");
    QTest::addColumn<QString>("withoutEqual");
    QTest::addColumn<QString>("withoutContaining");
    QTest::newRow("the empty text") << QString() << QStringLiteral("(a, ab, B, 7, (a))")
                                    << QStringLiteral("(a, , ab, B, 7, (a))");
    QTest::newRow("a text") << QStringLiteral("a") << QStringLiteral("(, ab, B, 7, (a))")
                            << QStringLiteral("(, B, 7, (a))");
    QTest::newRow("case counts") << QStringLiteral("b") << QStringLiteral("(a, , ab, B, 7, (a))")
                                 << QStringLiteral("(a, , B, 7, (a))");
    QTest::newRow("a number's text") << QStringLiteral("7") << QStringLiteral("(a, , ab, B, 7, (a))")
                                     << QStringLiteral("(a, , ab, B, 7, (a))");
}

void PathAndListHelpersTest::leavesTextsOut() {
    QFETCH(QString, string);
    const auto text = [](const char* latin1) {
        return PropertyValue(QString::fromLatin1(latin1));
    };
    const std::vector<PropertyValue> array{text("a"), text(""), text("ab"),
                                           text("B"), 7,        PropertyValue::Array{{text("a")}}};
    const auto described = [](const std::vector<PropertyValue>& elements) {
        return PropertyValue(PropertyValue::Array{elements}).description();
    };
    LogLines log;
    QTEST(described(createNewArrayFromArrayWithoutString(array, string)), "withoutEqual");
    const QStringList lines = log.taken();
    QCOMPARE(lines.size(), 2 + 6 + 2);
    QVERIFY(lines.first().endsWith(QStringLiteral("): Start!")));
    QVERIFY(
        lines[6].endsWith(QStringLiteral("): classname is not NSString, but NSCFNumber, adding anyway.")));
    QVERIFY(lines[7].endsWith(QStringLiteral("): s: (a)")));
    QVERIFY(lines.last().endsWith(QStringLiteral("): Ende!")));
    QTEST(described(createNewArrayFromArrayWithoutStringContaining(array, string)), "withoutContaining");
}

TAVLIN_TEST_MAIN(QCoreApplication, PathAndListHelpersTest)
#include "tst_path_and_list_helpers.moc"
