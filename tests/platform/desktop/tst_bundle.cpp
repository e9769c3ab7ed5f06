// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Bundle.h"
#include "testing/TestMain.h"

#include <QRegularExpression>

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
            const bool isGerman = text == u"Ordner";
            QVERIFY(bundle.pathForResourceOfType(u"Credits"_s, u"html"_s)
                        .endsWith(isGerman ? u"/tavlin/de/Credits.html"_s : u"/tavlin/Credits.html"_s));
            QCOMPARE(bundle.objectForInfoDictionaryKey(u"CFBundleGetInfoString"_s)
                         .startsWith(u"Tavlin " TAVLIN_VERSION ", Bild"_s),
                     isGerman);
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

 private:
    const QString _built = QStringLiteral(TAVLIN_BUILD_DIR);
    const QString _key = u"MainWindowFileBrowserColumnFolders"_s;
};

TAVLIN_TEST_MAIN(QCoreApplication, BundleTest)
#include "tst_bundle.moc"
