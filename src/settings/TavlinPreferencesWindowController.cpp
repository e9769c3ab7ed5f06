// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/TavlinPreferencesWindowController.h"

#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "ui_PreferencesWindow.h"

#include <QButtonGroup>

namespace {

constexpr auto initMethod = "-[TavlinPreferencesWindowController initWithWindowNibName:]";

QVariant debugValue() {
    return appGlobals->objectForKey(PreferenceKeys::debugLogging);
}

/// A radio group is a matrix of one column: its row is the id of the checked button, -1 for none.
void setRows(QButtonGroup& matrix, QRadioButton& row0, QRadioButton& row1) {
    matrix.setId(&row0, 0);
    matrix.setId(&row1, 1);
}

int selectedRow(const QButtonGroup& matrix) {
    return matrix.checkedId();
}

void show(QCheckBox& box, const QString& key) {
    box.setChecked(platform::integerReading(appGlobals->objectForKey(key)) != 0);
}

/// A row that is not there selects none.
void show(QButtonGroup& matrix, const QString& key) {
    if (QAbstractButton* button = matrix.button(platform::integerReading(appGlobals->objectForKey(key))))
        button->setChecked(true);
}

void store(const QCheckBox& box, const QString& key) {
    appGlobals->setObjectForKey(box.isChecked(), key);
}

void store(const QButtonGroup& matrix, const QString& key) {
    appGlobals->setObjectForKey(selectedRow(matrix), key);
}

/// Calls `function` with each control and the key of its setting, in the order in which they are read and
/// stored.
template <typename Function>
void forEachSetting(const Ui::PreferencesWindow& ui, Function function) {
    function(*ui._debugLoggingCheckbox, PreferenceKeys::debugLogging);
    function(*ui._sortPlacesOptionsMatrix, PreferenceKeys::placesBrowserSort);
    function(*ui._enableAnimationCheckbox, PreferenceKeys::imageBrowserAnimation);
    function(*ui._recursiveCheckbox, PreferenceKeys::imageBrowserRecursive);
    function(*ui._sortImagesOptionsMatrix, PreferenceKeys::imagesBrowserSort);
    function(*ui._printingGeneralMetadataCheckbox, PreferenceKeys::printGeneralMetadata);
    function(*ui._printingIPTCMetadataCheckbox, PreferenceKeys::printIPTCMetadata);
    function(*ui._printingEXIFMetadataCheckbox, PreferenceKeys::printEXIFMetadata);
}

}  // namespace

TavlinPreferencesWindowController::TavlinPreferencesWindowController(const QString& windowNibName,
                                                                     const platform::Bundle& bundle) {
    logWithMethodName(initMethod, 20, u"nibName: %@", windowNibName);
    logWithMethodName(initMethod, 21, u"window: %p", _window.get());
    logWithMethodName(initMethod, 22, u"isWindowLoaded: %i", _window != nullptr);
    loadWindow();
    _window->setWindowTitle(bundle.localizedString(QStringLiteral("PreferencesWindowTitle")));
    setLabels(bundle);
    showSettings();
    connectControls();
    settingChanged(this);
    _window->fitToContentOf(*_ui->scrollArea);
    logWithMethodName(initMethod, 107, u"window: %p", _window.get());
    _window->makeKeyAndOrderFront();
    logWithMethodName(initMethod, 110, u"Done");
}

TavlinPreferencesWindowController::~TavlinPreferencesWindowController() = default;

void TavlinPreferencesWindowController::loadWindow() {
    windowWillLoad();
    _ui = std::make_unique<Ui::PreferencesWindow>();
    _window = std::make_unique<platform::PanelWindow>();
    _ui->setupUi(_window.get());
    setRows(*_ui->_sortPlacesOptionsMatrix, *_ui->_sortPlacesOptionsByNameButton,
            *_ui->_sortPlacesOptionsByModificationDateButton);
    setRows(*_ui->_sortImagesOptionsMatrix, *_ui->_sortImagesOptionsByNameButton,
            *_ui->_sortImagesOptionsByModificationDateButton);
    windowDidLoad();
}

void TavlinPreferencesWindowController::windowWillLoad() {
    logWithMethodName("-[TavlinPreferencesWindowController windowWillLoad]", 116, u"Hi!");
}

void TavlinPreferencesWindowController::windowDidLoad() {
    constexpr auto method = "-[TavlinPreferencesWindowController windowDidLoad]";
    logWithMethodName(method, 121, u"window: %p", _window.get());
    logWithMethodName(method, 123, u"Done");
}

void TavlinPreferencesWindowController::setLabels(const platform::Bundle& bundle) {
    const auto text = [&bundle](const char* key) {
        return bundle.localizedString(QStringLiteral("PreferencesWindow") + QString::fromLatin1(key));
    };
    logWithMethodName(initMethod, 35, u"setting labels of developer box...");
    _ui->_developerBox->setTitle(text("BoxDeveloper"));
    logWithMethodName(initMethod, 37, u"_debugLoggingCheckbox: %p", _ui->_debugLoggingCheckbox);
    _ui->_debugLoggingCheckbox->setText(text("DebugLoggingButtonTitle"));

    logWithMethodName(initMethod, 40, u"setting labels of places browser box...");
    _ui->_placesBrowserBox->setTitle(text("BoxPlacesBrowser"));
    _ui->_sortPlacesOptionsByNameButton->setText(text("PlacesBrowserOptionSortByNameTitle"));
    _ui->_sortPlacesOptionsByModificationDateButton->setText(
        text("PlacesBrowserOptionSortByModificationDateTitle"));

    logWithMethodName(initMethod, 45, u"setting labels of image browser box...");
    _ui->_imageBrowserBox->setTitle(text("BoxImageBrowser"));
    _ui->_enableAnimationCheckbox->setText(text("ImageBrowserAnimationCheckboxTitle"));
    _ui->_recursiveCheckbox->setText(text("ImageBrowserRecursiveCheckboxTitle"));
    _ui->_sortImagesOptionsByNameButton->setText(text("ImageBrowserOptionSortByNameTitle"));
    _ui->_sortImagesOptionsByModificationDateButton->setText(
        text("ImageBrowserOptionSortByModificationDateTitle"));

    logWithMethodName(initMethod, 52, u"setting labels of printing browser box...");
    _ui->_printingBox->setTitle(text("BoxPrinting"));
    _ui->_printingGeneralMetadataCheckbox->setText(text("PrintGeneralMetadataCheckboxTitle"));
    _ui->_printingIPTCMetadataCheckbox->setText(text("PrintIPTCMetadataCheckboxTitle"));
    _ui->_printingEXIFMetadataCheckbox->setText(text("PrintEXIFMetadataCheckboxTitle"));
}

void TavlinPreferencesWindowController::showSettings() {
    logWithMethodName(initMethod, 59, u"Setting values...");
    logWithMethodName(initMethod, 62, u"kDebugLoggingSettingKey value: %@", debugValue());
    forEachSetting(*_ui, [](auto& control, const QString& key) { show(control, key); });
}

/// The controls tell of every change, not of clicks alone: an assistive program toggles without a click. A
/// radio group that changes tells once.
void TavlinPreferencesWindowController::connectControls() {
    for (QCheckBox* box : _window->findChildren<QCheckBox*>())
        connect(box, &QCheckBox::toggled, this, [this, box] { settingChanged(box); });
    for (QButtonGroup* matrix : {_ui->_sortPlacesOptionsMatrix, _ui->_sortImagesOptionsMatrix})
        connect(matrix, &QButtonGroup::idToggled, this, [this, matrix](int, bool isSelected) {
            if (isSelected)
                settingChanged(matrix);
        });
    connect(_window.get(), &platform::PanelWindow::aboutToClose, this,
            &TavlinPreferencesWindowController::windowWillCloseNotification);
}

void TavlinPreferencesWindowController::settingChanged(QObject* /*sender*/) {
    saveSettings();
}

void TavlinPreferencesWindowController::saveSettings() {
    constexpr auto method = "-[TavlinPreferencesWindowController saveSettings]";
    const auto describeStore = [] {
        return appGlobals->description();
    };
    logWithMethodName(method, 139, u"kDebugLoggingSettingKey value: %@", debugValue());
    logWithMethodName(method, 140, u"appGlobals (vorher): %@", describeStore);
    forEachSetting(*_ui, [](const auto& control, const QString& key) { store(control, key); });
    logWithMethodName(method, 159, u"appGlobals (nachher): %@", describeStore);
    appGlobals->save();
}

void TavlinPreferencesWindowController::windowWillCloseNotification() {
    logWithMethodName("-[TavlinPreferencesWindowController windowWillClose:]", 129, u"Start");
    saveSettings();
    Q_EMIT windowWillClose();
}
