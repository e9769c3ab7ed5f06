// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <sys/resource.h>
#include <csignal>

#include <QRegularExpression>
#include <QTest>

#include <limits>

using platform::boolReading;
using platform::integerReading;
using platform::UserDefaults;

namespace {

const QString group = QStringLiteral("PreferencesGlobals");
const QVariantMap someSettings{{QStringLiteral("aSetting"), true}, {QStringLiteral("bSetting"), -5}};

void writeFile(const QString& path, const QByteArray& contents) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(contents), contents.size());
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("missing");
}

/// The greatest size that a file of this process can grow to, as a stand-in for a full disk.
class FileSizeLimit {
 public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &_former);
        const rlimit limit{bytes, _former.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &_former); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
    rlimit _former{};
};

}  // namespace

class UserDefaultsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init();
    void readsValuesOfEveryKind_data();
    void readsValuesOfEveryKind();
    void writesNothingUntilSomethingIsSet();
    void replacesADictionaryAsAWhole();
    void writesTheLastOfManyChanges();
    void keepsACorruptFileOnce();
    void goesOnWithAFileThatCannotBeWritten_data();
    void goesOnWithAFileThatCannotBeWritten();

 private:
    std::unique_ptr<QTemporaryDir> _folder;
    QString _path;
};

void UserDefaultsTest::init() {
    _folder = std::make_unique<QTemporaryDir>();
    _path = _folder->filePath(QStringLiteral("tavlin/tavlin.conf"));
}

void UserDefaultsTest::readsValuesOfEveryKind_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("boolean");
    QTest::addColumn<int>("integer");
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    QTest::newRow("absent") << QVariant() << false << 0;
    QTest::newRow("true") << QVariant(true) << true << 1;
    QTest::newRow("false") << QVariant(false) << false << 0;
    QTest::newRow("number") << QVariant(-3) << true << -3;
    QTest::newRow("fraction") << QVariant(-0.9) << true << 0;
    QTest::newRow("great number") << QVariant(1e12) << true << most;
    QTest::newRow("great long") << QVariant(std::numeric_limits<qlonglong>::min()) << true << least;
    QTest::newRow("no number") << QVariant(std::numeric_limits<double>::quiet_NaN()) << true << 0;
    QTest::newRow("list") << QVariant(QStringList{QStringLiteral("1")}) << false << 0;
    const auto text = [](const char* latin1, bool boolean, int integer) {
        QTest::newRow(latin1) << QVariant(QString::fromLatin1(latin1)) << boolean << integer;
    };
    text("true", true, 1);
    text("false", false, 0);
    text("", false, 0);
    text("yes", true, 0);
    text("No", false, 0);
    text("T", true, 0);
    text("1", true, 1);
    text(" -05x", true, -5);
    text("+000", false, 0);
    text("- 7", false, 0);
    text("0.9", false, 0);
    text("--1", false, 0);
    text("99999999999", true, most);
    text("-99999999999", true, least);
}

void UserDefaultsTest::readsValuesOfEveryKind() {
    QFETCH(QVariant, value);
    QTEST(boolReading(value), "boolean");
    QTEST(integerReading(value), "integer");
}

void UserDefaultsTest::writesNothingUntilSomethingIsSet() {
    UserDefaults defaults(_path);
    QVERIFY(!defaults.dictionaryForKey(group));
    defaults.synchronize();
    QVERIFY(!QFileInfo::exists(QFileInfo(_path).path()));
}

void UserDefaultsTest::replacesADictionaryAsAWhole() {
    UserDefaults defaults(_path);
    defaults.setDictionaryForKey(someSettings, QStringLiteral("Other"));
    defaults.setDictionaryForKey({{QStringLiteral("old"), 1}, {QStringLiteral("a/b"), 1}}, group);
    defaults.setDictionaryForKey(someSettings, group);
    QCOMPARE(defaults.dictionaryForKey(group), someSettings);
    defaults.synchronize();
    for (const QString& key : {group, QStringLiteral("Other")}) {
        const auto again = UserDefaults(_path).dictionaryForKey(key);
        QVERIFY(again);
        QCOMPARE(again->keys(), someSettings.keys());
        QCOMPARE(integerReading(again->value(QStringLiteral("aSetting"))), 1);
        QCOMPARE(integerReading(again->value(QStringLiteral("bSetting"))), -5);
    }
}

void UserDefaultsTest::writesTheLastOfManyChanges() {
    {
        UserDefaults defaults(_path);
        for (int i = 0; i <= 500; ++i)
            defaults.setDictionaryForKey({{QStringLiteral("n"), i}}, group);
    }
    QCOMPARE(UserDefaults(_path).dictionaryForKey(group)->value(QStringLiteral("n")).toInt(), 500);
}

void UserDefaultsTest::keepsACorruptFileOnce() {
    const QByteArray first("[PreferencesGlobals]\naSetting=true\nno equals sign\n");
    const QByteArray second("\x01\x02garbage\n");
    QDir().mkpath(QFileInfo(_path).path());
    LogLines log;
    writeFile(_path, first);
    QCOMPARE(UserDefaults(_path).dictionaryForKey(group)->size(), 1);
    QCOMPARE(readFile(_path + QStringLiteral(".corrupt")), first);
    QCOMPARE(readFile(_path), first);

    writeFile(_path, second);
    UserDefaults(_path).setDictionaryForKey(someSettings, group);
    QCOMPARE(readFile(_path + QStringLiteral(".corrupt")), first);
    QCOMPARE(readFile(_path + QStringLiteral(".corrupt.2")), second);
    QVERIFY(readFile(_path).contains("bSetting=-5"));

    writeFile(_path, second);
    QVERIFY(!UserDefaults(_path).dictionaryForKey(group));
    QVERIFY(!QFileInfo::exists(_path + QStringLiteral(".corrupt.3")));
    QCOMPARE(log.taken().filter(QStringLiteral("it is kept as")).size(), 2);
}

void UserDefaultsTest::goesOnWithAFileThatCannotBeWritten_data() {
    QTest::addColumn<bool>("isDiskFull");
    QTest::newRow("full disk") << true;
    QTest::newRow("no folder can be made") << false;
}

void UserDefaultsTest::goesOnWithAFileThatCannotBeWritten() {
    QFETCH(bool, isDiskFull);
    const QString path = isDiskFull ? _path : _path + QStringLiteral("/below/a/file");
    UserDefaults(_path).setDictionaryForKey(someSettings, group);
    const QByteArray before = readFile(_path);
    LogLines log;
    {
        UserDefaults defaults(path);
        const FileSizeLimit limit(isDiskFull ? before.size() : RLIM_INFINITY);
        const QVariantMap more{{QStringLiteral("long"), QString(500, u'x')}};
        defaults.setDictionaryForKey(more, group);
        defaults.synchronize();
        QCOMPARE(defaults.dictionaryForKey(group), more);
    }
    QCOMPARE(log.taken().filter(QStringLiteral("cannot be written to ") + path).size(), 1);
    QCOMPARE(readFile(_path), before);
}

TAVLIN_TEST_MAIN(QCoreApplication, UserDefaultsTest)
#include "tst_user_defaults.moc"
