// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "settings/TavlinPreferencesWindowController.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QAbstractButton>
#include <QApplication>
#include <QButtonGroup>
#include <QGroupBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::Bundle;
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

    void anUnknownRowSelectsNone() {
        appGlobals->setObjectForKey(5, Keys::placesBrowserSort);
        appGlobals->setObjectForKey(-3, Keys::imagesBrowserSort);
        open();
        QVERIFY(!button(u"_sortPlacesOptionsByNameButton"_s).isChecked() &&
                !button(u"_sortPlacesOptionsByModificationDateButton"_s).isChecked());
        QCOMPARE(savedValues()[1], -1);
        QCOMPARE(savedValues()[4], -1);
        button(u"_sortPlacesOptionsByModificationDateButton"_s).click();
        QCOMPARE(savedValues()[1], 1);
        QCOMPARE(savedValues()[4], -1);
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

    void textsAreWholeAndKeysTheirOwn_data() {
        QTest::addColumn<QString>("language");
        QTest::newRow("English") << u"en"_s;
        QTest::newRow("German") << u"de"_s;
    }
    /// Every control is labelled and reached by Tab and by a key that no other control or menu has; in a
    /// large font nothing is wider than the window.
    void textsAreWholeAndKeysTheirOwn() {
        QFETCH(const QString, language);
        const Bundle bundle(QStringLiteral(TAVLIN_BUILD_DIR), {language});
        const QFont font = QApplication::font();
        QFont large = font;
        large.setPointSize(20);
        QApplication::setFont(large);
        open(bundle);
        QApplication::setFont(font);
        QWidget& window = *_controller->window();
        QVERIFY(!window.windowTitle().isEmpty());
        QVERIFY(window.height() <= window.screen()->availableSize().height());
        QCOMPARE(window.findChild<QScrollArea*>()->horizontalScrollBar()->maximum(), 0);
        QStringList mnemonics;
        for (const char* menu : {"File", "Edit", "View", "Help"})
            mnemonics += mnemonic(bundle.localizedString(u"MainMenu"_s + QString::fromLatin1(menu)));
        const auto buttons = window.findChildren<QAbstractButton*>();
        QCOMPARE(buttons.size(), 10);
        for (const QAbstractButton* one : buttons)
            mnemonics += mnemonic(one->text());
        QVERIFY(!mnemonics.contains(QString()));
        QCOMPARE(mnemonics.removeDuplicates(), 0);
        for (const QGroupBox* box : window.findChildren<QGroupBox*>())
            QVERIFY2(!box->title().isEmpty(), qPrintable(box->objectName()));

        QStringList reached;
        for (int i = 0; i < 8; ++i) {
            reached += QApplication::focusWidget()->objectName();
            QTest::keyClick(&window, Qt::Key_Tab);
        }
        QCOMPARE(reached,
                 QStringList({u"_sortPlacesOptionsByNameButton"_s, u"_recursiveCheckbox"_s,
                              u"_enableAnimationCheckbox"_s, u"_sortImagesOptionsByNameButton"_s,
                              u"_printingGeneralMetadataCheckbox"_s, u"_printingIPTCMetadataCheckbox"_s,
                              u"_printingEXIFMetadataCheckbox"_s, u"_debugLoggingCheckbox"_s}));
    }

 private:
    void open(const Bundle& bundle = Bundle::mainBundle()) {
        _controller = std::make_unique<TavlinPreferencesWindowController>(u"PreferencesWindow"_s, bundle);
        QVERIFY(QTest::qWaitForWindowActive(_controller->window()));
    }
    QAbstractButton& button(const QString& name) const {
        return *_controller->window()->findChild<QAbstractButton*>(name);
    }
    static QString mnemonic(const QString& text) { return text.section(u'&', 1).left(1).toUpper(); }

    std::unique_ptr<TavlinPreferencesWindowController> _controller;
};

TAVLIN_TEST_MAIN(QApplication, PreferencesWindowTest)
#include "tst_preferences_window.moc"
