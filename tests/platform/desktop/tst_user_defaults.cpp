// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <pthread.h>

#include <QScopeGuard>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using platform::UserDefaults;

namespace {

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("missing");
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
        LogLines log;
        writeFile(first);
        QCOMPARE(UserDefaults(_path).dictionaryForKey(_group)->size(), 1);
        QCOMPARE(readFile(_path), first);
        writeFile(second);
        UserDefaults(_path).setDictionaryForKey(_settings, _group);
        QVERIFY(readFile(_path).contains("bSetting=-5"));
        writeFile(second);
        QVERIFY(!UserDefaults(_path).dictionaryForKey(_group));

        QCOMPARE(readFile(_path + u".corrupt"_s), first);
        QCOMPARE(readFile(_path + u".corrupt.2"_s), second);
        QVERIFY(!QFile::exists(_path + u".corrupt.3"_s));
        QCOMPARE(log.taken().filter(u"it is kept as"_s).size(), 2);
    }

    void writesWithoutAThread() {
        pthread_attr_t usual;
        QCOMPARE(::pthread_getattr_default_np(&usual), 0);
        pthread_attr_t impossible = usual;
        QCOMPARE(::pthread_attr_setstacksize(&impossible, std::size_t{1} << 50), 0);
        UserDefaults defaults(_path);
        QCOMPARE(::pthread_setattr_default_np(&impossible), 0);
        const auto restore = qScopeGuard([&] { ::pthread_setattr_default_np(&usual); });
        defaults.setDictionaryForKey(_settings, _group);
        QVERIFY(readFile(_path).contains("bSetting=-5"));
    }

 private:
    void writeFile(const QByteArray& contents) {
        QFile file(_path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size());
    }
    const QString _group = u"PreferencesGlobals"_s;
    const QVariantMap _settings{{u"aSetting"_s, true}, {u"bSetting"_s, -5}};
    std::unique_ptr<QTemporaryDir> _folder;
    QString _path;
};

TAVLIN_TEST_MAIN(QCoreApplication, UserDefaultsTest)
#include "tst_user_defaults.moc"
