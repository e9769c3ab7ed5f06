// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "settings/TavlinPreferencesWindowController.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QAbstractButton>
#include <QApplication>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::UserDefaults;
namespace Keys = PreferenceKeys;

namespace {

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
    const auto saved = UserDefaults::standardUserDefaults().dictionaryForKey(u"PreferencesGlobals"_s);
    return saved ? values(*saved) : QList<int>();
}

}  // namespace

class PreferencesWindowTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() {
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->plausibilitaetsTest();
    }
    void cleanup() {
        _controller.reset();
        delete std::exchange(appGlobals, nullptr);
    }

    void everyControlIsItsSetting_data() {
        QTest::addColumn<QString>("control");
        QTest::addColumn<int>("setting");
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("chosen");
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
        appGlobals->setObjectForKey(5, settingKeys[1]);
        const LogLines log;
        open();
        QCOMPARE(storeValues()[1], -1);
        QCOMPARE(savedValues()[1], -1);
        appGlobals->load();
        QCOMPARE(storeValues()[1], 0);
    }

    void logsItsLife() {
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

TAVLIN_TEST_MAIN(QApplication, PreferencesWindowTest)
#include "tst_preferences_window.moc"
