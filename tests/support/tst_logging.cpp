// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/SystemLog.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "testing/LogLines.h"
#include "testing/TestMain.h"

#include <unistd.h>

#include <QRegularExpression>
#include <QTemporaryFile>

#include <array>
#include <thread>

using namespace Qt::StringLiterals;

class LoggingTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void isSilentUnlessTheSettingIsTrue() {
        QStringList described;
        const auto log = [&](const QString& text) {
            logWithMethodName("getUserFolder", 657, u"pathToFolder: %@", [&] {
                described += text;
                return text + QString(_store->description().isEmpty(), u'!');
            });
        };
        LogLines lines;
        log(u"no store"_s);
        appGlobals = _store;
        log(u"absent"_s);
        for (const QVariant& setting :
             {QVariant(false), QVariant(true), QVariant(u"false"_s), QVariant(u"true"_s)}) {
            _store->setObjectForKey(setting, PreferenceKeys::debugLogging);
            log(QLatin1String(setting.typeName()) + setting.toString());
        }
        QCOMPARE(described, QStringList({u"booltrue"_s, u"QStringtrue"_s}));
        QCOMPARE(lines.taken(), QStringList({u"getUserFolder (657): pathToFolder: booltrue"_s,
                                             u"getUserFolder (657): pathToFolder: QStringtrue"_s}));
    }

    void fillsInDirectives_data() {
        const Table<QString, QString> columns("result", "expected");
        const auto row = [](const char* name, QStringView expected, QStringView format,
                            const auto&... values) {
            QTest::newRow(name) << logging::formatted(format, {logging::describeAny(values)...})
                                << expected.toString();
        };
        const QObject* const noObject = nullptr;
        const char* const noText = nullptr;
        row("no directive", u"Start!", u"Start!");
        row("texts", u"a Hä c d", u"%@ %s %@ %s", u"a"_s, "H\xc3\xa4", u"c", QStringView(u"d"));
        row("integers", u"-1 2 2 1", u"%i %d %u %@", -1, 2L, Qt::RightButton, true);
        row("floating numbers", u"2.500000 2.5 3.000000", u"%f %@ %f", 2.5, 2.5F, 3);
        row("doubles for integers", u"-7 9223372036854775807 0", u"%d %i %u", -7.9, 1e300, qQNaN());
        row("texts for numbers", u"x x x", u"%d %f %p", "x", "x", "x");
        row("addresses", u"0xabc 0x0", u"%p %p", reinterpret_cast<const void*>(0xabc), noObject);
        row("absent objects", u"(null) (null) (null) (null)", u"%@ %@ %@ %s", QVariant(),
            std::optional<QString>(), noObject, noText);
        row("a present object", u"here", u"%@", std::optional(u"here"_s));
        row("collections", u"(a, b) {a = 1; b = x; } (0, 2-3)", u"%@ %@ %@", QStringList{u"a"_s, u"b"_s},
            QVariantMap{{u"b"_s, u"x"_s}, {u"a"_s, 1}}, platform::IndexSet{0, 2, 3});
        row("missing arguments", u"1 %@ %d", u"%i %@ %d", 1);
        row("surplus arguments", u"1", u"%i", 1, 2);
        row("stray percent signs", u"50 % of it, 100%", u"50 % of it, %i%", 100);
        row("percent signs in an argument", u"100% /a%@%n%s/b", u"100%% %@", "/a%@%n%s/b");
    }
    void fillsInDirectives() {
        QFETCH(QString, result);
        QTEST(result, "expected");
    }

    void writesLinesWholeFromSeveralThreads() {
        appGlobals = _store;
        _store->setObjectForKey(true, PreferenceKeys::debugLogging);
        QTemporaryFile file;
        QVERIFY(file.open());
        const auto handler = qInstallMessageHandler(nullptr);
        platform::installSystemLog();
        const int standardError = ::dup(STDERR_FILENO);
        ::dup2(file.handle(), STDERR_FILENO);
        {
            const auto work = [](char16_t letter) {
                for (int line = 0; line < 200; ++line)
                    logWithMethodName("-[A b:]", line, u"%@ ende", QString(12'000, letter));
            };
            const std::array<std::jthread, 3> threads{std::jthread(work, u'a'), std::jthread(work, u'b'),
                                                      std::jthread(work, u'c')};
        }
        ::dup2(standardError, STDERR_FILENO);
        ::close(standardError);
        qInstallMessageHandler(handler);

        const QRegularExpression whole(QStringLiteral(R"(^\d{4}-\d\d-\d\d [\d:.]{12} tst_logging\[%1\] )"
                                                      R"(-\[A b:\] \(\d+\): (a+|b+|c+) ende\n$)")
                                           .arg(::getpid()));
        file.seek(0);
        int count = 0;
        for (; !file.atEnd(); ++count)
            QVERIFY(whole.match(QString::fromUtf8(file.readLine())).hasMatch());
        QCOMPARE(count, 600);
    }

 private:
    PreferencesDictionary* const _store = PreferencesDictionary::dictionary();
};

TAVLIN_TEST_MAIN(QCoreApplication, LoggingTest)
#include "tst_logging.moc"
