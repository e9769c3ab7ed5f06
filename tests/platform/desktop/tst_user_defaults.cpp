// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "testing/LogLines.h"
#include "testing/MountSandbox.h"
#include "testing/NoThreads.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <QProcess>
#include <QScopeGuard>
#include <QSettings>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using platform::UserDefaults;

namespace {

constexpr int lastSaved = 30;

void saveOften(const QString& path, const QString& group) {
    UserDefaults defaults(path);
    for (int i = 0; i <= lastSaved; ++i) {
        defaults.setDictionaryForKey({{u"xSetting"_s, i}}, group);
        defaults.synchronize();
    }
}

}  // namespace

class UserDefaultsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void readsValuesOfEveryKind() {
        constexpr int most = std::numeric_limits<int>::max();
        const QList<QVariant> values{{}, true, -3, -0.9, 1e12, qQNaN(), QStringList{u"1"_s}};
        const QList<bool> booleans{false, true, true, true, true, true, false};
        const QList<int> integers{0, 1, -3, 0, most, 0, 0};
        const QStringList texts{u"true"_s,  u" -05x"_s, u"99999999999"_s, u"-99999999999"_s, u"yes"_s, u"T"_s,
                                u"false"_s, u""_s,      u"+000"_s,        u"- 7"_s,          u"--1"_s};
        const QList<int> integersOfTexts{1, -5, most, -most - 1, 0, 0, 0, 0, 0, 0, 0};
        for (qsizetype i = 0; i < values.size(); ++i) {
            QCOMPARE(platform::boolReading(values[i]), booleans[i]);
            QCOMPARE(platform::integerReading(values[i]), integers[i]);
        }
        for (qsizetype i = 0; i < texts.size(); ++i) {
            QCOMPARE(platform::boolReading(texts[i]), i < 6);
            QCOMPARE(platform::integerReading(texts[i]), integersOfTexts[i]);
        }
    }

    void init() {
        _folder = std::make_unique<QTemporaryDir>();
        _path = _folder->filePath(u"tavlin.conf"_s);
    }

    void replacesADictionaryAsAWhole() {
        {
            UserDefaults defaults(_path);
            QVERIFY(!defaults.dictionaryForKey(_group));
            defaults.setDictionaryForKey(_settings, u"Other"_s);
            for (int i = 0; i < 100; ++i)
                defaults.setDictionaryForKey({{u"old/%1"_s.arg(i), 1}}, _group);
            defaults.setDictionaryForKey(_settings, _group);
            QCOMPARE(defaults.dictionaryForKey(_group), _settings);
        }
        QCOMPARE(readFile(_path), QByteArray("[Other]\naSetting=true\nbSetting=-5\n\n"
                                             "[PreferencesGlobals]\naSetting=true\nbSetting=-5\n"));
        const QVariantMap asText{{u"aSetting"_s, u"true"_s}, {u"bSetting"_s, u"-5"_s}};
        QCOMPARE(UserDefaults(_path).dictionaryForKey(_group), asText);
    }

    void keepsACorruptFileOnce() {
        const QByteArray first("[PreferencesGlobals]\naSetting=true\nno equals sign\n");
        const QByteArray second("\x01\x02garbage\n");
        // The toolkit's reader would ask for the list's 137 gigabytes.
        const QByteArray third("[PreferencesGlobals]\naSetting=@Variant(\\0\\0\\0\\t\\x7f\\xff\\xff\\xff)\n");
        LogLines log;
        writeFile(_path, first);
        QCOMPARE(UserDefaults(_path).dictionaryForKey(_group)->size(), 1);
        QCOMPARE(readFile(_path), first);
        writeFile(_path, second);
        UserDefaults(_path).setDictionaryForKey(_settings, _group);
        QVERIFY(readFile(_path).contains("bSetting=-5"));
        writeFile(_path, second);
        QVERIFY(!UserDefaults(_path).dictionaryForKey(_group));
        writeFile(_path, third);
        QVERIFY(!UserDefaults(_path).dictionaryForKey(_group));
        QCOMPARE(readFile(_path), third);
        UserDefaults(_path).setDictionaryForKey(_settings, _group);
        QVERIFY(readFile(_path).contains("bSetting=-5"));

        QCOMPARE(readFile(_path + u".corrupt"_s), first);
        QCOMPARE(readFile(_path + u".corrupt.2"_s), second);
        QCOMPARE(readFile(_path + u".corrupt.3"_s), third);
        QVERIFY(!QFile::exists(_path + u".corrupt.4"_s));
        QCOMPARE(log.taken().filter(u"it is kept as"_s).size(), 3);
    }

    void readsNoStreams_data() {
        const Table<QByteArray, bool> row("value", "isText");
        const QByteArray number(R"((\0\0\0\x2\0\0\0\x5))");
        row("plain", "@Variant" + number, false);
        row("escaped letter", R"(@V\x61rian\164)" + number, false);
        row("escaped sign", R"(\x40Variant)" + number, false);
        row("escaped sign of 20 bits", R"(\x10040Variant)" + number, false);
        row("octal sign", R"(\100Variant)" + number, false);
        row("empty escapes", R"(@\xV\cariant)" + number, false);
        row("quoted sign", R"("@"Variant)" + number, false);
        row("blanks behind a quote", R"("@"  Variant)" + number, false);
        row("broken line", "@Vari\\\r\nant" + number, false);
        row("byte order mark", "\xef\xbb\xbf@Variant" + number, false);
        row("in a list", "a, @Variant" + number, false);
        row("time", R"("@Date"Time(\0\0\0\x10\0\0\0\0\0%\x87\xb4\0\0\0\0\0))", false);
        row("doubled sign", "@@x", true);
        row("bytes", "@ByteArray(x)", true);
        row("address", "anna@example.org Variant(x)", true);
    }
    /// However it is spelt, what the toolkit reads as a stream of bytes does not come to it.
    void readsNoStreams() {
        QFETCH(const QByteArray, value);
        writeFile(_path, "[PreferencesGlobals]\naSetting=" + value + '\n');
        const auto read = QSettings(_path, QSettings::IniFormat).value(u"PreferencesGlobals/aSetting"_s);
        const QList<int> texts{QMetaType::QString, QMetaType::QByteArray};
        QTEST(texts.contains(read.typeId()), "isText");
        LogLines log;
        QTEST(UserDefaults(_path).dictionaryForKey(_group).has_value(), "isText");
    }

    /// Whatever the fault, the run goes on with its own settings and the file keeps what it held.
    void faultsHarmNothing_data() {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QString>("said");
        const QByteArray whole("[PreferencesGlobals]\naSetting=false\n");
        const QByteArray cut("[PreferencesGlobals]\naSetting=false\nno equals sign\n");
        const QByteArray other("[General]\nversion=9\n\n[New]\nx\\y=@ByteArray(1)\n\n");
        const auto row = [](const char* name, const QString& fault, const QByteArray& before,
                            const QByteArray& after, const QString& said = u"cannot be written"_s) {
            QTest::newRow(name) << fault << before << after << said;
        };
        row("full disk", u"full"_s, whole, whole);
        row("a disk with one block left", u"nearly full"_s, whole, whole);
        row("corrupt on a full disk", u"full"_s, cut, cut, u"could not be copied"_s);
        row("read-only disk", u"read-only"_s, whole, whole);
        row("a folder in its place", u"folder"_s, {}, {});
        row("another version", {}, other + whole,
            other + "[PreferencesGlobals]\naSetting=true\nbSetting=-5\n", {});
    }
    void faultsHarmNothing() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QFETCH(const QString, fault);
        QFETCH(const QByteArray, before);
        QFETCH(const QString, said);
        const QString disk = _folder->filePath(u"disk"_s);
        QVERIFY(MountSandbox::mountTmpfs(disk, "size=64k"));
        const auto unmount = qScopeGuard([&] { MountSandbox::unmount(disk); });
        _path = disk + u"/tavlin.conf"_s;
        if (fault == u"folder")
            QVERIFY(QDir().mkpath(_path));
        else
            writeFile(_path, before);
        if (fault.endsWith(u"full")) {
            QFile filling(disk + u"/filling"_s);
            QVERIFY(filling.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
            while (filling.write(QByteArray(4096, 'x')) > 0) {
            }
            QVERIFY(fault == u"full" || filling.resize(filling.size() - 4096));
        }
        QVERIFY(fault != u"read-only" || MountSandbox::remountReadOnly(disk));

        LogLines log;
        {
            UserDefaults defaults(_path);
            defaults.setDictionaryForKey(_settings, _group);
            QCOMPARE(defaults.dictionaryForKey(_group), _settings);
        }
        QTEST(readFile(_path), "after");
        QVERIFY(fault != u"folder" || QFileInfo(_path).isDir());
        const QStringList lines = log.taken();
        QVERIFY2(said.isEmpty() ? lines.isEmpty() : !lines.filter(said).isEmpty(),
                 qPrintable(lines.join(u'\n')));
    }

    /// Several programs at once: each keeps its own dictionary, and at every moment the file is whole.
    void savesBesideOthers() {
        std::vector<std::unique_ptr<QProcess>> others;
        for (int i = 0; i < 3; ++i) {
            others.push_back(std::make_unique<QProcess>());
            others.back()->start(QCoreApplication::arguments().constFirst(),
                                 {u"--save"_s, _path, u"Other%1"_s.arg(i)});
        }
        saveOften(_path, _group);
        for (const auto& other : others) {
            QVERIFY(other->waitForFinished());
            QCOMPARE(other->exitCode(), 0);
            QCOMPARE(other->readAllStandardError(), QByteArray());
        }
        const UserDefaults defaults(_path);
        for (const QString& group : {_group, u"Other0"_s, u"Other1"_s, u"Other2"_s})
            QCOMPARE(defaults.dictionaryForKey(group)->value(u"xSetting"_s).toInt(), lastSaved);
    }

    void writesWithoutAThread() {
        UserDefaults defaults(_path);
        const NoThreads none;
        defaults.setDictionaryForKey(_settings, _group);
        QVERIFY(readFile(_path).contains("bSetting=-5"));
    }

 private:
    const QString _group = u"PreferencesGlobals"_s;
    const QVariantMap _settings{{u"aSetting"_s, true}, {u"bSetting"_s, -5}};
    std::unique_ptr<QTemporaryDir> _folder;
    QString _path;
};

int main(int argc, char** argv) {
    // As another program that saves at the same time.
    if (argc == 4 && qstrcmp(argv[1], "--save") == 0) {
        saveOften(QString::fromUtf8(argv[2]), QString::fromUtf8(argv[3]));
        return 0;
    }
    MountSandbox::enter();
    const TestHome home;
    const QCoreApplication application(argc, argv);
    UserDefaultsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_user_defaults.moc"
