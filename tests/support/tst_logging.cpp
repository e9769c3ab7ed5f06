// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/SystemLog.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <fcntl.h>
#include <unistd.h>

#include <QRegularExpression>
#include <QTemporaryFile>
#include <QTest>

#include <limits>
#include <thread>
#include <vector>

using logging::describeAny;

class LoggingTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void isSilentUnlessTheSettingIsTrue_data();
    void isSilentUnlessTheSettingIsTrue();
    void fillsInDirectives_data();
    void fillsInDirectives();
    void writesLinesWholeFromSeveralThreads();

 private:
    PreferencesDictionary* const _store = PreferencesDictionary::dictionary();
};

void LoggingTest::isSilentUnlessTheSettingIsTrue_data() {
    QTest::addColumn<QVariant>("setting");
    QTest::addColumn<bool>("isWritten");
    QTest::newRow("no store") << QVariant(QStringLiteral("no store")) << false;
    QTest::newRow("absent") << QVariant() << false;
    QTest::newRow("false") << QVariant(false) << false;
    QTest::newRow("true") << QVariant(true) << true;
    QTest::newRow("true, from the file") << QVariant(QStringLiteral("true")) << true;
    QTest::newRow("switched off again") << QVariant(QStringLiteral("false")) << false;
}

void LoggingTest::isSilentUnlessTheSettingIsTrue() {
    QFETCH(QVariant, setting);
    QFETCH(bool, isWritten);
    appGlobals = setting == QStringLiteral("no store") ? nullptr : _store;
    _store->setObjectForKey(setting, PreferenceKeys::debugLogging);
    bool isDescribed = false;
    LogLines log;
    logWithMethodName("getUserFolder", 657, u"pathToFolder: %@", [&] {
        isDescribed = true;
        return _store->description().isEmpty() ? QString() : QStringLiteral("/Users/me");
    });
    QCOMPARE(log.taken(), isWritten
                              ? QStringList(QStringLiteral("getUserFolder (657): pathToFolder: /Users/me"))
                              : QStringList());
    QCOMPARE(isDescribed, isWritten);
}

void LoggingTest::fillsInDirectives_data() {
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, QStringView expected, QStringView format, const auto&... values) {
        QTest::newRow(name) << logging::formatted(format, {describeAny(values)...}) << expected.toString();
    };
    const void* const address = reinterpret_cast<const void*>(0xabcdef);
    const QObject* const noObject = nullptr;
    const char* const noText = nullptr;
    row("no directive", u"Start!", u"Start!");
    row("texts of every sort", u"a b c d", u"%@ %s %@ %s", QStringLiteral("a"), "b", u"c", QStringView(u"d"));
    row("narrow text is UTF-8", u"Hä", u"%s", "H\xc3\xa4");
    row("integers of every sort", u"-1 2 2 1", u"%i %d %u %@", -1, 2L, Qt::RightButton, true);
    row("a floating number", u"2.500000 2.5", u"%f %@", 2.5, 2.5F);
    row("an integer for %f", u"3.000000", u"%f", 3);
    row("a double for %d", u"-7", u"%d", -7.9);
    row("doubles beyond integers", u"9223372036854775807 -9223372036854775808 0", u"%d %i %u", 1e300, -1e300,
        std::numeric_limits<double>::quiet_NaN());
    row("a text for a number", u"x x", u"%d %f", "x", "x");
    row("an address", u"0xabcdef 0x0", u"%p %p", address, noObject);
    row("absent objects", u"(null) (null) (null) (null)", u"%@ %@ %@ %s", QVariant(),
        std::optional<QString>(), noObject, noText);
    row("a present object", u"here", u"%@", std::optional(QStringLiteral("here")));
    row("a list", u"(a, b)", u"%@", QStringList{QStringLiteral("a"), QStringLiteral("b")});
    row("a dictionary in order", u"{a = 1; b = x; }", u"%@",
        QVariantMap{{QStringLiteral("b"), QStringLiteral("x")}, {QStringLiteral("a"), 1}});
    row("an index set", u"(0, 2-3)", u"%@", platform::IndexSet{0, 2, 3});
    row("a missing argument", u"1 %@ %d", u"%i %@ %d", 1);
    row("a surplus argument", u"1", u"%i", 1, 2);
    row("a stray percent sign", u"50 % of it, 100%", u"50 % of it, %i%", 100);
    row("a doubled percent sign", u"100%", u"%i%%", 100);
    row("percent signs in an argument", u"/a%@%n%s/b", u"%@", "/a%@%n%s/b");
}

void LoggingTest::fillsInDirectives() {
    QFETCH(QString, result);
    QTEST(result, "expected");
}

void LoggingTest::writesLinesWholeFromSeveralThreads() {
    constexpr int threadCount = 4;
    constexpr int lineCount = 200;
    appGlobals = _store;
    _store->setObjectForKey(true, PreferenceKeys::debugLogging);
    QTemporaryFile file;
    QVERIFY(file.open());

    const auto handler = qInstallMessageHandler(nullptr);
    platform::installSystemLog();
    const int standardError = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < threadCount; ++i)
            threads.emplace_back([i] {
                for (int line = 0; line < lineCount; ++line)
                    logWithMethodName("-[A b:]", line, u"%@ ende",
                                      QString(12'000, QChar(static_cast<char16_t>(u'a' + i))));
            });
    }
    ::dup2(standardError, STDERR_FILENO);
    ::close(standardError);
    qInstallMessageHandler(handler);

    const QRegularExpression whole(QStringLiteral(R"(^\d{4}-\d\d-\d\d [\d:.]{12} tst_logging\[%1\] )"
                                                  R"(-\[A b:\] \(\d+\): (a+|b+|c+|d+) ende$)")
                                       .arg(::getpid()));
    file.seek(0);
    int count = 0;
    for (; !file.atEnd(); ++count) {
        const QString line = QString::fromUtf8(file.readLine()).chopped(1);
        QVERIFY2(whole.match(line).hasMatch(), qPrintable(line.left(100)));
    }
    QCOMPARE(count, threadCount * lineCount);
}

TAVLIN_TEST_MAIN(QCoreApplication, LoggingTest)
#include "tst_logging.moc"
