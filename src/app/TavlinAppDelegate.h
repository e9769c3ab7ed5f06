// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/Application.h"
#include "platform/desktop/NotificationBridge.h"
#include "platform/desktop/WindowController.h"

#include <QObject>
#include <QString>

#include <memory>

class FileBrowserDataSource;
class ImageBrowserDataSource;
class ScriptsDataSource;

namespace platform {
class ImageBrowserView;
class OutlineView;
class PrintPanel;
class TableView;
}  // namespace platform

/// The spine of the program: prepares it at its start, follows its coming to the front and the volumes, opens
/// the About and the Preferences window one at a time, says which menu items are enabled, and saves the
/// settings at the end. Main thread only.
class TavlinAppDelegate : public QObject,
                          public platform::ApplicationDelegate,
                          public platform::NotificationBridgeDelegate {
    Q_OBJECT

 public:
    explicit TavlinAppDelegate(QObject* parent = nullptr);
    ~TavlinAppDelegate() override;

    /// The outlets: borrowed, connected by the main interface, and set before the program launches. What is
    /// not there yet is null.
    QWidget* window = nullptr;
    platform::OutlineView* fileBrowserOutline = nullptr;
    platform::TableView* scriptsTableView = nullptr;
    platform::ImageBrowserView* imageBrowserView = nullptr;
    ImageBrowserDataSource* imageBrowserDataSource = nullptr;
    FileBrowserDataSource* fileBrowserDataSource = nullptr;
    ScriptsDataSource* scriptsBrowserDataSource = nullptr;
    platform::NotificationBridge* notificationBridge = nullptr;

    void applicationDidFinishLaunching() override;
    void applicationWillTerminate() override;
    void applicationWillBecomeActive() override;
    void applicationWillUnhide() override {}

    /// Neither tests whether its window is open already: validateMenuItem() does.
    void openAboutWindow(QObject* sender);
    void openPreferencesWindow(QObject* sender);
    bool validateMenuItem(const platform::MenuItem& item) override;

    /// Asks for paper and margins, and returns when the user has chosen.
    void openPageSetupDialog(QObject* sender);
    /// Shows the print panel on the window in front; its end prints that window's picture.
    void openPrintingDialog(QObject* sender);
    void printingDialogDidClose(platform::PrintPanel& panel, int returnCode, QWidget& contextInfo);

    /// A volume came or went, with its mount folder and its display name.
    void didMount(const QString& path, const QString& name);
    void didUnmount(const QString& path, const QString& name);
    /// A mounted volume's label came to be known: its row bears it, and stays as it is otherwise.
    void didRenameVolume(const QString& path, const QString& name);

    /// Tells the user by the desktop's notifications, once they are known to be ready.
    void notifyUsingGrowl(const QString& message);
    QVariantMap registrationDictionaryForGrowl() override;
    QString applicationNameForGrowl() override;
    std::optional<QByteArray> applicationIconDataForGrowl() override;
    void growlIsReady() override;
    void growlNotificationWasClicked(const QString& clickContext) override;
    void growlNotificationTimedOut(const QString& clickContext) override;

 private:
    void storeSharedIcons();
    void connectNotificationBridge();
    void aboutWindowDidClose();
    void preferencesWindowDidClose();
    bool validatePrintItem() const;
    void reloadPlaces();

    std::unique_ptr<platform::WindowController> _preferencesWindowController;
    std::unique_ptr<platform::WindowController> _aboutWindowController;
};
