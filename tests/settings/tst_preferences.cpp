// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "platform/Image.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "settings/TavlinPreferencesWindowController.h"
#include "testing/LogLines.h"
#include "testing/TestMain.h"

#include <QAbstractButton>
#include <QApplication>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using platform::UserDefaults;
namespace Keys = PreferenceKeys;

namespace {

const QString defaultsKey = u"PreferencesGlobals"_s;
const QStringList settingKeys{Keys::debugLogging,          Keys::placesBrowserSort,
                              Keys::imageBrowserAnimation, Keys::imageBrowserRecursive,
                              Keys::imagesBrowserSort,     Keys::printGeneralMetadata,
                              Keys::printIPTCMetadata,     Keys::printEXIFMetadata};

QList<int> values(const QVariantMap& settings) {
    QList<int> result;
    for (const QString& key : settingKeys)
        result += platform::integerReading(settings.value(key));
    return result;
}

QList<int> storeValues() {
    QVariantMap settings;
    for (const QString& key : settingKeys)
        settings.insert(key, appGlobals->objectForKey(key));
    return values(settings);
}

QList<int> savedValues() {
    const auto saved = UserDefaults::standardUserDefaults().dictionaryForKey(defaultsKey);
    return saved ? values(*saved) : QList<int>();
}

}  // namespace

class PreferencesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() { appGlobals = PreferencesDictionary::dictionary(); }
    void cleanup() {
        _controller.reset();
        delete std::exchange(appGlobals, nullptr);
    }

    void givesEverySettingAValidValue_data() {
        const Table<QVariant, QList<int>> row("stored", "expected");
        row("first start", QVariant(), QList{0, 0, 1, 0, 0, 0, 1, 0});
        row("true", QVariant(u"true"_s), QList{1, 1, 1, 1, 1, 0, 1, 0});
        row("false", QVariant(u"false"_s), QList{0, 0, 0, 0, 0, 0, 0, 0});
        row("5", QVariant(u"5"_s), QList{5, 5, 1, 5, 5, 0, 1, 0});
        row("-1", QVariant(u"-1"_s), QList{-1, 0, 1, -1, 0, 0, 1, 0});
        row("noise", QVariant(u"noise"_s), QList{0, 0, 0, 0, 0, 0, 0, 0});
    }
    void givesEverySettingAValidValue() {
        QFETCH(QVariant, stored);
        QVariantMap settings{{Keys::growlIsReady, true}};
        for (const QString& key : settingKeys)
            settings.insert(key, stored);
        if (stored.isValid())
            UserDefaults::standardUserDefaults().setDictionaryForKey(settings, defaultsKey);
        const LogLines log;
        appGlobals->setObjectForKey(8, u"xSetting"_s);
        appGlobals->load();
        QTEST(storeValues(), "expected");
        QCOMPARE(appGlobals->objectForKey(u"xSetting"_s), QVariant(8));
        QCOMPARE(appGlobals->keyEnumerator().size(), 9);
        QVERIFY(stored.isValid() || !QFileInfo::exists(UserDefaults::standardUserDefaults().filePath()));
    }

    void savesEveryKeyWithSetting() {
        appGlobals->plausibilitaetsTest();
        appGlobals->setObjectForKey(QVariant::fromValue(std::make_shared<platform::Image>(QIcon())),
                                    Keys::imageURL);
        appGlobals->setObjectForKey(true, Keys::growlIsReady);
        appGlobals->setObjectForKey(true, Keys::printEXIFMetadata);
        appGlobals->setObjectForKey(1, u"mySetting"_s);
        appGlobals->removeObjectForKey(Keys::debugLogging);
        appGlobals->save();
        UserDefaults::standardUserDefaults().synchronize();
        const auto saved =
            UserDefaults(UserDefaults::standardUserDefaults().filePath()).dictionaryForKey(defaultsKey);
        QVERIFY(saved);
        QStringList keys = settingKeys;
        keys[0] = u"mySetting"_s;
        keys.sort();
        QCOMPARE(saved->keys(), keys);
        QVERIFY(platform::boolReading(saved->value(Keys::printEXIFMetadata)));
    }

    void logsWithoutWaitingForItself() {
        UserDefaults::standardUserDefaults().setDictionaryForKey({{Keys::debugLogging, true}, {u"x"_s, 1}},
                                                                 defaultsKey);
        appGlobals->setObjectForKey(true, Keys::debugLogging);
        const QString before = u"{PreferencesDebugLoggingSettingKey = 1; }"_s;
        const auto line = [](const char* text, const QString& rest) {
            return QString::fromLatin1(text).prepend(u"-[PreferencesDictionary "_s) + rest;
        };
        LogLines log;
        appGlobals->load();
        const QString after = appGlobals->description();
        appGlobals->save();
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

    void everyControlIsItsSetting_data() {
        const Table<QString, int, int, int> columns("control", "setting", "stored", "chosen");
        const auto row = [](const char* control, int setting, int stored, int chosen) {
            QTest::newRow(control) << QString::fromLatin1(control) << setting << stored << chosen;
        };
        row("_debugLoggingCheckbox", 0, 0, 1);
        row("_sortPlacesOptionsByNameButton", 1, 1, 0);
        row("_sortPlacesOptionsByModificationDateButton", 1, 0, 1);
        row("_enableAnimationCheckbox", 2, 1, 0);
        row("_recursiveCheckbox", 3, 0, 1);
        row("_sortImagesOptionsByNameButton", 4, 1, 0);
        row("_sortImagesOptionsByModificationDateButton", 4, 0, 1);
        row("_printingGeneralMetadataCheckbox", 5, 0, 1);
        row("_printingIPTCMetadataCheckbox", 6, 1, 0);
        row("_printingEXIFMetadataCheckbox", 7, 0, 1);
    }
    /// One change is one save, changes no other setting, and is what a window opened later shows.
    void everyControlIsItsSetting() {
        QFETCH(const QString, control);
        QFETCH(const int, setting);
        QFETCH(const int, stored);
        QFETCH(const int, chosen);
        appGlobals->plausibilitaetsTest();
        appGlobals->setObjectForKey(stored, settingKeys[setting]);
        QList<int> expected = storeValues();
        const LogLines log;
        open();
        QCOMPARE(storeValues(), expected);
        const bool isRadio = control.contains(u"Options");
        QCOMPARE(button(control).isChecked(), isRadio ? stored == chosen : stored != 0);
        button(control).toggle();
        expected[setting] = chosen;
        QCOMPARE(storeValues(), expected);
        QCOMPARE(savedValues(), expected);
        open();
        QCOMPARE(button(control).isChecked(), isRadio || chosen != 0);
    }

    /// A sort that has no radio button leaves its group without a row; the next start mends it.
    void sortWithoutARowLastsOneRun() {
        appGlobals->plausibilitaetsTest();
        appGlobals->setObjectForKey(5, settingKeys[1]);
        const LogLines log;
        open();
        QCOMPARE(storeValues()[1], -1);
        QCOMPARE(savedValues()[1], -1);
        appGlobals->load();
        QCOMPARE(storeValues()[1], 0);
    }

    void logsItsLife() {
        appGlobals->plausibilitaetsTest();
        appGlobals->setObjectForKey(true, Keys::debugLogging);
        LogLines log;
        open();
        const auto numbersOf = [&log] {
            QStringList numbers;
            static const QRegularExpression form(u"^-\\[(\\w+) (\\w+)\\S* \\((\\d+)\\): (.*)$"_s);
            for (const QString& line : log.taken())
                if (const auto match = form.match(line); match.hasMatch())
                    numbers += match.captured(2) + u' ' + match.captured(3);
            return numbers.join(u' ').replace(u"initWithWindowNibName"_s, u"init"_s);
        };
        const QString saving = u"saveSettings 139 saveSettings 140 saveSettings 159 save 129 save 147"_s;
        QCOMPARE(numbersOf(),
                 u"init 20 init 21 init 22 windowWillLoad 116 windowDidLoad 121 "
                 "windowDidLoad 123 init 35 init 37 init 40 init 45 init 52 init 59 init 62 "_s +
                     saving + u" init 107 init 110"_s);
        const QList<int> before = storeValues();
        QSignalSpy closed(_controller.get(), &platform::WindowController::windowWillClose);
        QTest::keyClick(_controller->window(), Qt::Key_Escape);
        QCOMPARE(numbersOf(), u"windowWillClose 129 "_s + saving);
        QCOMPARE(closed.size(), 1);
        QVERIFY(!_controller->window()->isVisible());
        QCOMPARE(storeValues(), before);
    }

 private:
    void open() {
        _controller = std::make_unique<TavlinPreferencesWindowController>(u"PreferencesWindow"_s);
        QVERIFY(QTest::qWaitForWindowActive(_controller->window()));
    }
    QAbstractButton& button(const QString& name) const {
        return *_controller->window()->findChild<QAbstractButton*>(name);
    }

    std::unique_ptr<TavlinPreferencesWindowController> _controller;
};

TAVLIN_TEST_MAIN(QApplication, PreferencesTest)
#include "tst_preferences.moc"
