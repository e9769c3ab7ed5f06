// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Bundle.h"
#include "testing/TestHome.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::Bundle;

class BundleTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void speaksTheFirstLanguageThatIsShipped() {
        const std::pair<QString, QString> rows[]{{u"de-AT"_s, u"Ordner"_s},
                                                 {u"xx-YY de"_s, u"Ordner"_s},
                                                 {u"en-US de"_s, u"Folders"_s},
                                                 {u"C"_s, u"Folders"_s}};
        for (const auto& [languages, text] : rows) {
            const Bundle bundle(_built, languages.split(u' '));
            QCOMPARE(bundle.localizedString(_key), text);
            QCOMPARE(bundle.localizedString(u"NoSuchKey"_s), u""_s);
        }
    }

    void bothLanguagesHaveTheSameKeys() {
        const auto keys = [](const QString& language) {
            QFile file(
                QStringLiteral(TAVLIN_SOURCE_DIR "/resources/translations/tavlin_%1.ts").arg(language));
            QStringList found;
            static const QRegularExpression message(u"<message id=\"([^\"]+)\""_s);
            if (file.open(QIODevice::ReadOnly))
                for (auto match = message.globalMatch(QString::fromUtf8(file.readAll())); match.hasNext();)
                    found += match.next().captured(1);
            found.sort();
            return found;
        };
        QStringList english = keys(u"en"_s);
        QVERIFY(english.contains(_key));
        QCOMPARE(keys(u"de"_s), english);
        QCOMPARE(english.removeDuplicates(), 0);
    }

    void givesCompiledInterfacesItsTexts() {
        const Bundle bundle(_built, {u"de"_s});
        bundle.installTranslators();
        QCOMPARE(qtTrId("MainWindowFileBrowserColumnFolders"), u"Ordner"_s);
    }

    void listsResourcesByType() {
        const QTemporaryDir prefix;
        const QString folder = prefix.filePath(u"share/tavlin/"_s);
        QVERIFY(QDir().mkpath(folder + u"folder.sh"_s));
        for (const char* name : {"b.sh", "_a.sh", "c.py", "sh", "d.sh.txt"})
            QVERIFY(QFile(folder + QString::fromLatin1(name)).open(QIODevice::WriteOnly));
        const Bundle bundle(prefix.path(), {});
        QCOMPARE(bundle.pathsForResourcesOfType(u"sh"_s),
                 QStringList({folder + u"_a.sh"_s, folder + u"b.sh"_s}));
        QCOMPARE(bundle.pathForResourceOfType(u"c"_s, u"py"_s), folder + u"c.py"_s);
        QVERIFY(bundle.pathForResourceOfType(u"c"_s, u"sh"_s).isNull());
        QCOMPARE(bundle.localizedString(_key), u""_s);
    }

 private:
    const QString _built = QStringLiteral(TAVLIN_BUILD_DIR);
    const QString _key = u"MainWindowFileBrowserColumnFolders"_s;
};

TAVLIN_TEST_MAIN(QCoreApplication, BundleTest)
#include "tst_bundle.moc"
