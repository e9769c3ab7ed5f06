// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TavlinAppDelegate.h"

#include "app/Texts.h"
#include "images/ImageBrowserDataSource.h"
#include "places/FileBrowserDataSource.h"
#include "platform/desktop/UserDefaults.h"
#include "platform/desktop/Workspace.h"
#include "platform/views/OutlineView.h"
#include "platform/views/TableView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"

using platform::Workspace;

namespace {

/// Forgets a controller from within its own signal.
void forget(std::unique_ptr<platform::WindowController>& controller) {
    if (controller != nullptr)
        controller.release()->deleteLater();
}

}  // namespace

TavlinAppDelegate::TavlinAppDelegate(QObject* parent) : QObject(parent) {
}

TavlinAppDelegate::~TavlinAppDelegate() = default;

void TavlinAppDelegate::applicationDidFinishLaunching() {
    static constexpr auto method = "-[TavlinAppDelegate applicationDidFinishLaunching:]";
    appGlobals = PreferencesDictionary::dictionary();
    _preferencesWindowController = nullptr;
    _aboutWindowController = nullptr;
    appGlobals->load();
    logWithMethodName(method, 43, u"Starting up!");

    storeSharedIcons();
    fileBrowserOutline->reloadData();

    Workspace& workspace = Workspace::sharedWorkspace();
    connect(&workspace, &Workspace::didMount, this, &TavlinAppDelegate::didMount);
    connect(&workspace, &Workspace::didUnmount, this, &TavlinAppDelegate::didUnmount);
    connect(&workspace, &Workspace::didRenameVolume, this, &TavlinAppDelegate::didRenameVolume);
    workspace.watchVolumes();

    fileBrowserOutline->tableColumnWithIdentifier(QStringLiteral("folders"))
        ->setHeaderTitle(text("MainWindowFileBrowserColumnFolders"));
    scriptsTableView->tableColumnWithIdentifier(QStringLiteral("scriptNames"))
        ->setHeaderTitle(text("MainWindowScriptsBrowserColumnScriptName"));

    connectNotificationBridge();

    window->show();
    window->raise();
    window->activateWindow();
    logWithMethodName(method, 101, u"Started up!");
}

/// Both keys hold the folder's icon: wherever the places ask for the icon of an address, they get that one.
void TavlinAppDelegate::storeSharedIcons() {
    constexpr QSizeF smallIcon(16, 16);
    Workspace& workspace = Workspace::sharedWorkspace();
    const platform::ImageRef folderIcon = workspace.iconForFileType(QStringLiteral("fldr"));
    folderIcon->setSize(smallIcon);
    appGlobals->setObjectForKey(QVariant::fromValue(folderIcon), PreferenceKeys::imageFolder);
    const platform::ImageRef urlIcon = workspace.iconForFileType(QStringLiteral("gurl"));
    urlIcon->setSize(smallIcon);
    appGlobals->setObjectForKey(QVariant::fromValue(folderIcon), PreferenceKeys::imageURL);
}

void TavlinAppDelegate::connectNotificationBridge() {
    appGlobals->setObjectForKey(false, PreferenceKeys::growlIsReady);
    if (notificationBridge == nullptr)
        return;
    notificationBridge->setGrowlDelegate(this);
    if (notificationBridge->isGrowlInstalled() && notificationBridge->isGrowlRunning())
        appGlobals->setObjectForKey(true, PreferenceKeys::growlIsReady);
}

void TavlinAppDelegate::applicationWillTerminate() {
    static constexpr auto method = "-[TavlinAppDelegate applicationWillTerminate:]";
    logWithMethodName(method, 109, u"Start");
    appGlobals->save();
    logWithMethodName(method, 136, u"End.");
}

void TavlinAppDelegate::applicationWillBecomeActive() {
    logWithMethodName("-[TavlinAppDelegate applicationWillBecomeActive:]", 309,
                      u"Since we will now become foreground, maybe the user changed something in the "
                      u"filesystem. Reload the currently selected stuff.");
    fileBrowserDataSource->reloadContentsOfSelectedItem();
    imageBrowserDataSource->reloadCurrentlyViewedContents();
}

void TavlinAppDelegate::openAboutWindow(QObject* /*sender*/) {
    _aboutWindowController =
        platform::InterfaceDescriptions::shared().open({QStringLiteral("AboutWindow"), this, {}});
    if (_aboutWindowController != nullptr)
        connect(_aboutWindowController.get(), &platform::WindowController::windowWillClose, this,
                &TavlinAppDelegate::aboutWindowDidClose);
}

void TavlinAppDelegate::openPreferencesWindow(QObject* /*sender*/) {
    _preferencesWindowController =
        platform::InterfaceDescriptions::shared().open({QStringLiteral("PreferencesWindow"), this, {}});
    if (_preferencesWindowController != nullptr)
        connect(_preferencesWindowController.get(), &platform::WindowController::windowWillClose, this,
                &TavlinAppDelegate::preferencesWindowDidClose);
}

void TavlinAppDelegate::aboutWindowDidClose() {
    logWithMethodName("-[TavlinAppDelegate aboutWindowDidClose:]", 223, u"Start");
    forget(_aboutWindowController);
}

void TavlinAppDelegate::preferencesWindowDidClose() {
    logWithMethodName("-[TavlinAppDelegate preferencesWindowDidClose:]", 148, u"Start");
    forget(_preferencesWindowController);
}

bool TavlinAppDelegate::validateMenuItem(const platform::MenuItem& item) {
    static constexpr auto method = "-[TavlinAppDelegate validateMenuItem:]";
    const QString& keyEquivalent = item.keyEquivalent();
    logWithMethodName(method, 230, u"Start validation for menu item with key equiv.: %@", keyEquivalent);
    if (keyEquivalent == u",") {
        logWithMethodName(method, 234, u"_preferencesWindowController: %p",
                          _preferencesWindowController.get());
        if (_preferencesWindowController == nullptr)
            return true;
        logWithMethodName(method, 237, u"validateMenuItem: NOpe.");
        return false;
    }
    if (keyEquivalent == u"i") {
        logWithMethodName(method, 248, u"_aboutWindowController: %p", _aboutWindowController.get());
        if (_aboutWindowController == nullptr)
            return true;
        logWithMethodName(method, 251, u"validateMenuItem: NOpe.");
        return false;
    }
    return keyEquivalent != u"p" || validatePrintItem();
}

/// Printing is offered only while an image window is in front.
bool TavlinAppDelegate::validatePrintItem() const {
    static constexpr auto method = "-[TavlinAppDelegate validateMenuItem:]";
    const QList<QWidget*> windows = platform::Application::shared()->orderedWindows();
    if (windows.isEmpty()) {
        logWithMethodName(method, 277, u"No windows open.");
        return false;
    }
    const QString className = platform::Application::classNameOfWindow(*windows.constFirst());
    logWithMethodName(method, 268, u"frontMostWindow className: %@", className);
    return className == u"ImageWindow";
}
