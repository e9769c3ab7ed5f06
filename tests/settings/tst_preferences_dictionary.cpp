// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "platform/Image.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using platform::UserDefaults;
namespace Keys = PreferenceKeys;

class PreferencesDictionaryTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() {
        _store.reset(PreferencesDictionary::dictionary());
        appGlobals = _store.get();
    }
    void cleanup() { appGlobals = nullptr; }

    void givesEverySettingAValidValue_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QList<int>>("expected");
        QTest::newRow("first start") << QVariant() << QList{0, 0, 1, 0, 0, 0, 1, 0};
        QTest::newRow("true") << QVariant(u"true"_s) << QList{1, 1, 1, 1, 1, 0, 1, 0};
        QTest::newRow("false") << QVariant(u"false"_s) << QList{0, 0, 0, 0, 0, 0, 0, 0};
        QTest::newRow("5") << QVariant(u"5"_s) << QList{5, 5, 1, 5, 5, 0, 1, 0};
        QTest::newRow("-1") << QVariant(u"-1"_s) << QList{-1, 0, 1, -1, 0, 0, 1, 0};
        QTest::newRow("noise") << QVariant(u"noise"_s) << QList{0, 0, 0, 0, 0, 0, 0, 0};
    }
    void givesEverySettingAValidValue() {
        QFETCH(QVariant, stored);
        QVariantMap settings{{Keys::growlIsReady, true}};
        for (const QString& key : _settingKeys)
            settings.insert(key, stored);
        if (stored.isValid())
            defaults().setDictionaryForKey(settings, _defaultsKey);
        const LogLines log;
        _store->setObjectForKey(8, u"xSetting"_s);
        _store->load();
        QList<int> values;
        for (const QString& key : _settingKeys)
            values += platform::integerReading(_store->objectForKey(key));
        QTEST(values, "expected");
        QCOMPARE(_store->objectForKey(u"xSetting"_s), QVariant(8));
        QCOMPARE(_store->keyEnumerator().size(), 9);
        QVERIFY(stored.isValid() || !QFileInfo::exists(defaults().filePath()));
    }

    void savesEveryKeyWithSetting() {
        _store->plausibilitaetsTest();
        _store->setObjectForKey(QVariant::fromValue(std::make_shared<platform::Image>(QIcon())),
                                Keys::imageURL);
        _store->setObjectForKey(true, Keys::growlIsReady);
        _store->setObjectForKey(true, Keys::printEXIFMetadata);
        _store->setObjectForKey(1, u"mySetting"_s);
        _store->removeObjectForKey(Keys::debugLogging);
        _store->save();
        defaults().synchronize();
        const auto saved = UserDefaults(defaults().filePath()).dictionaryForKey(_defaultsKey);
        QVERIFY(saved);
        QStringList keys = _settingKeys;
        keys[0] = u"mySetting"_s;
        keys.sort();
        QCOMPARE(saved->keys(), keys);
        QVERIFY(platform::boolReading(saved->value(Keys::printEXIFMetadata)));
    }

    void logsWithoutWaitingForItself() {
        defaults().setDictionaryForKey({{Keys::debugLogging, true}, {u"x"_s, 1}}, _defaultsKey);
        _store->setObjectForKey(true, Keys::debugLogging);
        const QString before = u"{PreferencesDebugLoggingSettingKey = 1; }"_s;
        const auto line = [](const char* text, const QString& rest) {
            return QString::fromLatin1(text).prepend(u"-[PreferencesDictionary "_s) + rest;
        };
        LogLines log;
        _store->load();
        const QString after = _store->description();
        _store->save();
        QCOMPARE(log.taken(), QStringList({line("load] (96): Loading _dict (complete global): ", before),
                                           line("load] (100): Loading dictToLoad: ",
                                                QString(before).insert(before.size() - 1, u"x = 1; "_s)),
                                           line("plausibilitaetsTest] (153): 1 _dict: ", before),
                                           line("plausibilitaetsTest] (209): 2 _dict: ", after),
                                           line("plausibilitaetsTest] (210): foo", {}),
                                           line("load] (120): Loading dictToLoad: ", before),
                                           line("load] (121): Loading _dict (globals): ", after),
                                           line("save] (129): Saving dict. Complete global _dict: ", after),
                                           line("save] (147): Saving dictToSave: ", after)}));
    }

 private:
    static UserDefaults& defaults() { return UserDefaults::standardUserDefaults(); }
    const QString _defaultsKey = u"PreferencesGlobals"_s;
    const QStringList _settingKeys{Keys::debugLogging,          Keys::placesBrowserSort,
                                   Keys::imageBrowserAnimation, Keys::imageBrowserRecursive,
                                   Keys::imagesBrowserSort,     Keys::printGeneralMetadata,
                                   Keys::printIPTCMetadata,     Keys::printEXIFMetadata};
    std::unique_ptr<PreferencesDictionary> _store;
};

TAVLIN_TEST_MAIN(QCoreApplication, PreferencesDictionaryTest)
#include "tst_preferences_dictionary.moc"
