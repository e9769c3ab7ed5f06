// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "platform/Image.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QTest>

#include <atomic>
#include <memory>
#include <thread>

using platform::boolReading;
using platform::integerReading;
using platform::UserDefaults;
namespace Keys = PreferenceKeys;

namespace {

const QString defaultsKey = QStringLiteral("PreferencesGlobals");

}  // namespace

class PreferencesDictionaryTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void startsWithDefaultsAndWritesNothing();
    void keepsOrReplacesAStoredValue_data();
    void keepsOrReplacesAStoredValue();
    void loadsSettingsOnlyAndKeepsTheRest();
    void savesEveryKeyWithSetting();
    void logsWithoutWaitingForItself();
    void sharesItsEntriesAmongThreads();

 private:
    static UserDefaults& defaults() { return UserDefaults::standardUserDefaults(); }
    std::unique_ptr<PreferencesDictionary> _store;
};

void PreferencesDictionaryTest::initTestCase() {
    QVERIFY(!defaults().dictionaryForKey(defaultsKey));
}

void PreferencesDictionaryTest::init() {
    _store.reset(PreferencesDictionary::dictionary());
    appGlobals = _store.get();
}

void PreferencesDictionaryTest::cleanup() {
    appGlobals = nullptr;
}

void PreferencesDictionaryTest::startsWithDefaultsAndWritesNothing() {
    _store->load();
    const QVariantList values{
        _store->objectForKey(Keys::debugLogging),          _store->objectForKey(Keys::placesBrowserSort),
        _store->objectForKey(Keys::imageBrowserAnimation), _store->objectForKey(Keys::imageBrowserRecursive),
        _store->objectForKey(Keys::imagesBrowserSort),     _store->objectForKey(Keys::printGeneralMetadata),
        _store->objectForKey(Keys::printIPTCMetadata),     _store->objectForKey(Keys::printEXIFMetadata)};
    QCOMPARE(values, QVariantList({false, false, true, false, false, false, true, false}));
    QCOMPARE(_store->keyEnumerator().size(), 8);
    defaults().synchronize();
    QVERIFY(!QFileInfo::exists(defaults().filePath()));
}

void PreferencesDictionaryTest::keepsOrReplacesAStoredValue_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QVariant>("expected");
    const auto row = [](const char* name, const QString& key, const QVariant& stored,
                        const QVariant& expected) {
        QTest::newRow(name) << key << stored << expected;
    };
    const QString trueText = QStringLiteral("true");
    const QString falseText = QStringLiteral("false");
    const QString noise = QStringLiteral("noise");
    row("debug true", Keys::debugLogging, trueText, trueText);
    row("debug noise", Keys::debugLogging, noise, false);
    row("places 5", Keys::placesBrowserSort, QStringLiteral("5"), QStringLiteral("5"));
    row("places -1", Keys::placesBrowserSort, QStringLiteral("-1"), false);
    row("places noise", Keys::placesBrowserSort, noise, noise);
    row("animation true", Keys::imageBrowserAnimation, trueText, true);
    row("animation false", Keys::imageBrowserAnimation, falseText, falseText);
    row("recursive true", Keys::imageBrowserRecursive, true, true);
    row("recursive false", Keys::imageBrowserRecursive, falseText, false);
    row("images 1", Keys::imagesBrowserSort, 1, 1);
    row("images -1", Keys::imagesBrowserSort, -1, false);
    row("general true", Keys::printGeneralMetadata, trueText, false);
    row("general false", Keys::printGeneralMetadata, falseText, falseText);
    row("IPTC true", Keys::printIPTCMetadata, trueText, true);
    row("IPTC false", Keys::printIPTCMetadata, falseText, falseText);
    row("EXIF true", Keys::printEXIFMetadata, true, false);
    row("EXIF none", Keys::printEXIFMetadata, QVariant(), false);
}

void PreferencesDictionaryTest::keepsOrReplacesAStoredValue() {
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    defaults().setDictionaryForKey({{key, stored}}, defaultsKey);
    _store->load();
    QTEST(_store->objectForKey(key), "expected");
}

void PreferencesDictionaryTest::loadsSettingsOnlyAndKeepsTheRest() {
    defaults().setDictionaryForKey(
        {{Keys::growlIsReady, true}, {QStringLiteral("settings"), true}, {QStringLiteral("aSetting"), 7}},
        defaultsKey);
    _store->setObjectForKey(1, QStringLiteral("aSetting"));
    _store->setObjectForKey(2, QStringLiteral("bSetting"));
    _store->load();
    QVERIFY(!_store->objectForKey(Keys::growlIsReady).isValid());
    QVERIFY(!_store->objectForKey(QStringLiteral("settings")).isValid());
    QCOMPARE(_store->objectForKey(QStringLiteral("aSetting")), QVariant(7));
    QCOMPARE(_store->objectForKey(QStringLiteral("bSetting")), QVariant(2));
    _store->removeObjectForKey(QStringLiteral("bSetting"));
    QVERIFY(!_store->keyEnumerator().contains(QStringLiteral("bSetting")));
}

void PreferencesDictionaryTest::savesEveryKeyWithSetting() {
    const auto icon = std::make_shared<platform::Image>(QIcon());
    _store->setObjectForKey(QVariant::fromValue(icon), Keys::imageFolder);
    _store->setObjectForKey(QVariant::fromValue(icon), Keys::imageURL);
    _store->setObjectForKey(true, Keys::growlIsReady);
    defaults().setDictionaryForKey({}, defaultsKey);
    _store->load();
    _store->setObjectForKey(1, QStringLiteral("mySetting"));
    _store->setObjectForKey(true, Keys::printEXIFMetadata);
    _store->save();

    defaults().synchronize();
    const auto saved = UserDefaults(defaults().filePath()).dictionaryForKey(defaultsKey);
    QVERIFY(saved);
    QStringList keys{Keys::debugLogging,          Keys::placesBrowserSort, Keys::imageBrowserAnimation,
                     Keys::imageBrowserRecursive, Keys::imagesBrowserSort, Keys::printGeneralMetadata,
                     Keys::printIPTCMetadata,     Keys::printEXIFMetadata, QStringLiteral("mySetting")};
    keys.sort();
    QCOMPARE(saved->keys(), keys);
    QVERIFY(boolReading(saved->value(Keys::printEXIFMetadata)));
    QVERIFY(boolReading(_store->objectForKey(Keys::printEXIFMetadata)));
    QCOMPARE(integerReading(saved->value(QStringLiteral("mySetting"))), 1);
}

void PreferencesDictionaryTest::logsWithoutWaitingForItself() {
    const QVariantMap stored{{Keys::debugLogging, true}, {QStringLiteral("x"), 1}};
    defaults().setDictionaryForKey(stored, defaultsKey);
    _store->setObjectForKey(true, Keys::debugLogging);
    _store->setObjectForKey(QVariant::fromValue(std::make_shared<platform::Image>(QIcon())),
                            Keys::imageFolder);
    const QString before = _store->description();
    QCOMPARE(before, QStringLiteral("{PreferencesDebugLoggingSettingKey = 1; "
                                    "PreferencesImageFolderKey = <std::shared_ptr<platform::Image>>; }"));

    LogLines log;
    _store->load();
    const QString after = _store->description();
    const auto line = [](const char* text, const QString& dictionary = {}) {
        return QString::fromLatin1("-[PreferencesDictionary %1").arg(QString::fromLatin1(text)) + dictionary;
    };
    QCOMPARE(
        log.taken(),
        QStringList(
            {line("load] (96): Loading _dict (complete global): ", before),
             line("load] (100): Loading dictToLoad: {PreferencesDebugLoggingSettingKey = 1; x = 1; }"),
             line("plausibilitaetsTest] (153): 1 _dict: ", before),
             line("plausibilitaetsTest] (209): 2 _dict: ", after), line("plausibilitaetsTest] (210): foo"),
             line("load] (120): Loading dictToLoad: {PreferencesDebugLoggingSettingKey = 1; }"),
             line("load] (121): Loading _dict (globals): ", after)}));
    _store->removeObjectForKey(Keys::imageFolder);
    const QString saved = _store->description();
    _store->save();
    QCOMPARE(log.taken(), QStringList({line("save] (129): Saving dict. Complete global _dict: ", saved),
                                       line("save] (147): Saving dictToSave: ", saved)}));
}

void PreferencesDictionaryTest::sharesItsEntriesAmongThreads() {
    std::atomic<bool> isEnding = false;
    std::atomic<int> readings = 0;
    std::jthread reader([&] {
        for (; !isEnding; ++readings)
            if (integerReading(_store->objectForKey(QStringLiteral("nSetting"))) < 0)
                _store->setObjectForKey(0, QStringLiteral("nSetting"));
    });
    for (int i = 0; i < 2000 || readings < 100; ++i) {
        _store->setObjectForKey(i, QStringLiteral("%1Setting").arg(i % 50));
        _store->setObjectForKey(-i, QStringLiteral("nSetting"));
        QVERIFY(_store->description().contains(QStringLiteral("nSetting = ")));
    }
    isEnding = true;
    reader.join();
    QCOMPARE(_store->keyEnumerator().size(), 51);
}

TAVLIN_TEST_MAIN(QCoreApplication, PreferencesDictionaryTest)
#include "tst_preferences_dictionary.moc"
