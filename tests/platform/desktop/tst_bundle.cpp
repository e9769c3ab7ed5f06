// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Bundle.h"
#include "testing/TestHome.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using platform::Bundle;

namespace {

const QString builtPrefix = QStringLiteral(TAVLIN_BUILD_DIR);
const QString columnKey = QStringLiteral("MainWindowFileBrowserColumnFolders");

}  // namespace

class BundleTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void speaksTheFirstLanguageThatIsShipped_data();
    void speaksTheFirstLanguageThatIsShipped();
    void answersMissingTextsAndFiles();
    void bothLanguagesHaveTheSameKeys();
    void givesCompiledInterfacesItsTexts();
    void listsResourcesByType();
};

void BundleTest::speaksTheFirstLanguageThatIsShipped_data() {
    QTest::addColumn<QStringList>("languages");
    QTest::addColumn<QString>("text");
    const QString english = QStringLiteral("Folders");
    const QString german = QStringLiteral("Ordner");
    const auto list = [](const char* languages) {
        return QString::fromLatin1(languages).split(u' ', Qt::SkipEmptyParts);
    };
    QTest::newRow("German") << list("de") << german;
    QTest::newRow("a country's German") << list("de-AT") << german;
    QTest::newRow("a script's German") << list("de-Latn-DE de-DE de") << german;
    QTest::newRow("English before German") << list("en-US de") << english;
    QTest::newRow("unknown before German") << list("xx-YY de") << german;
    QTest::newRow("unknown") << list("xx") << english;
    QTest::newRow("no locale") << list("C") << english;
    QTest::newRow("nothing") << list("") << english;
}

void BundleTest::speaksTheFirstLanguageThatIsShipped() {
    QFETCH(QStringList, languages);
    QTEST(Bundle(builtPrefix, languages).localizedString(columnKey), "text");
}

void BundleTest::answersMissingTextsAndFiles() {
    const QTemporaryDir nothing;
    for (const QString& prefix : {builtPrefix, nothing.path()}) {
        const Bundle bundle(prefix, {QStringLiteral("de")});
        QCOMPARE(bundle.localizedString(QStringLiteral("NoSuchKey")), QStringLiteral(""));
        QVERIFY(bundle.pathForResourceOfType(QStringLiteral("none"), QStringLiteral("html")).isNull());
        QVERIFY(bundle.objectForInfoDictionaryKey(QStringLiteral("NoSuchKey")).isNull());
        QVERIFY(bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleGetInfoString"))
                    .startsWith(QStringLiteral("Tavlin " TAVLIN_VERSION)));
    }
    QCOMPARE(Bundle(nothing.path(), {QStringLiteral("de")}).localizedString(columnKey), QStringLiteral(""));
}

void BundleTest::bothLanguagesHaveTheSameKeys() {
    const auto keys = [](const char* language) {
        QFile file(QStringLiteral(TAVLIN_SOURCE_DIR "/resources/translations/tavlin_%1.ts")
                       .arg(QString::fromLatin1(language)));
        if (!file.open(QIODevice::ReadOnly))
            return QStringList();
        QStringList found;
        static const QRegularExpression message(QStringLiteral("<message id=\"([^\"]+)\""));
        for (auto match = message.globalMatch(QString::fromUtf8(file.readAll())); match.hasNext();)
            found += match.next().captured(1);
        found.sort();
        return found;
    };
    QVERIFY(keys("en").contains(columnKey));
    QCOMPARE(keys("de"), keys("en"));
    QCOMPARE(keys("en").removeDuplicates(), 0);
}

void BundleTest::givesCompiledInterfacesItsTexts() {
    const Bundle bundle(builtPrefix, {QStringLiteral("de")});
    QCOMPARE(qtTrId("MainWindowFileBrowserColumnFolders"), columnKey);
    bundle.installTranslators();
    QCOMPARE(qtTrId("MainWindowFileBrowserColumnFolders"), QStringLiteral("Ordner"));
}

void BundleTest::listsResourcesByType() {
    const QTemporaryDir prefix;
    const QString folder = prefix.filePath(QStringLiteral("share/tavlin"));
    QVERIFY(QDir().mkpath(folder + QStringLiteral("/folder.sh")));
    for (const char* name : {"b.sh", "_a.sh", "c.py", "sh", "d.sh.txt"})
        QVERIFY(QFile(folder + u'/' + QString::fromLatin1(name)).open(QIODevice::WriteOnly));
    const Bundle bundle(prefix.path(), {});
    QCOMPARE(bundle.pathsForResourcesOfType(QStringLiteral("sh")),
             QStringList({folder + QStringLiteral("/_a.sh"), folder + QStringLiteral("/b.sh")}));
    QCOMPARE(bundle.pathForResourceOfType(QStringLiteral("c"), QStringLiteral("py")),
             folder + QStringLiteral("/c.py"));
}

TAVLIN_TEST_MAIN(QCoreApplication, BundleTest)
#include "tst_bundle.moc"
