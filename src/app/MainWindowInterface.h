// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/BrowserCommands.h"
#include "app/ImageWindowOpener.h"
#include "app/MainWindow.h"
#include "app/PathsOpener.h"
#include "app/TavlinAppDelegate.h"
#include "app/WindowState.h"
#include "images/ImageBrowserDataSource.h"
#include "places/FileBrowserDataSource.h"
#include "platform/desktop/Application.h"
#include "platform/desktop/MainMenu.h"
#include "platform/imaging/ThumbnailQueue.h"
#include "scripts/ScriptsDataSource.h"

#include <memory>

/// The main interface: owns the delegate, the window with its views, and the data sources, and connects them.
/// Main thread only.
class MainWindowInterface : public platform::MainInterface {
 public:
    static std::unique_ptr<platform::MainInterface> load();

    TavlinAppDelegate& delegate() override { return _delegate; }
    MainWindow& mainWindow() override { return _window; }
    platform::MainMenu& mainMenu() override { return _menu; }
    void restoreState() override;
    void saveState() override;
    /// Decoders are started after the first frame; the bus is asked, and the scripts wake, which run shell
    /// commands, once the first pictures are shown.
    void awake() override;
    void openPaths(const QStringList& paths) override;
    bool hasDetachedWork() const override;

    ImageBrowserDataSource& images() { return _images; }
    FileBrowserDataSource& places() { return _places; }
    platform::ThumbnailQueue& thumbnails() { return _thumbnails; }

 private:
    MainWindowInterface();
    void connectOutlets();
    void connectZoom();
    void connectStatus();
    void connectVolumes();
    void showWhatIsShown();
    void followIntoFolder(const QString& path);
    void comeToLife();
    void wakeRest();

    platform::MainMenu _menu;
    platform::ThumbnailQueue _thumbnails;
    platform::NotificationBridge _notifications;
    TavlinAppDelegate _delegate;
    FileBrowserDataSource _places;
    ImageBrowserDataSource _images;
    ScriptsDataSource _scripts;
    MainWindow _window;
    ImageWindowOpener _imageWindows;
    BrowserCommands _commands;
    PathsOpener _pathsOpener;
    bool _isFirstOpening = true;
    bool _isAlive = false;      ///< with what comes after the first frame
    bool _isRestAwake = false;  ///< what comes after the first pictures
    QString _lastFolder;        ///< of the run before
};
