// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QPoint>

#include <memory>

class FileBrowserDataSource;
class FileCommands;
class FileSystemItem;
class ImageBrowserDataSource;
class ImageWindowOpener;
class MainWindow;
class PictureCommands;
class ScriptsDataSource;
class TavlinAppDelegate;

namespace platform {
class MainMenu;
}

/// The program's commands: fills the menus, and does what they ask of the main window. Borrows all it is made
/// with. Main thread only.
class BrowserCommands : public QObject {
    Q_OBJECT

 public:
    struct Outlets {
        MainWindow& window;
        TavlinAppDelegate& delegate;
        FileBrowserDataSource& places;
        ImageBrowserDataSource& images;
        ScriptsDataSource& scripts;
        ImageWindowOpener& imageWindows;
    };

    explicit BrowserCommands(const Outlets& outlets, QObject* parent = nullptr);
    ~BrowserCommands() override;

    void fillMenu(platform::MainMenu& menu);
    void showGridMenu(const platform::MainMenu& menu, QPoint globalPosition);
    /// The menu of a row of the scripts table, or of the space beside the rows (-1).
    void showScriptMenu(int row, QPoint globalPosition);

    /// Of the picture of the image window in front, or of the grid's.
    void zoomIn();
    void zoomOut();
    /// Selects the parent of the selected place: its row, or, for a top-level place, where another place
    /// contains it.
    void goToParentFolder();
    /// Loads the shown folder anew, whichever row it has.
    void reloadFolder();
    void selectAll();
    /// Moves the selected items' files to the trash, but only while the grid has the focus: elsewhere the
    /// same key means something else. In an image window the picture's file.
    void moveToTrash();
    void undoRemoval();
    /// The window in front, unless it is the main window.
    void closeWindow();

    PictureCommands& pictures() { return *_pictures; }

    /// The item of the selected row, or null; asks the outline and writes no log.
    FileSystemItem* selectedPlace() const;

 private:
    bool isMainWindowInFront() const;
    bool canZoom() const;
    bool canMoveToTrash() const;
    QWidget* windowToClose() const;
    void followTarget(platform::MainMenu& menu);
    void addFileMenu(platform::MainMenu& menu);
    void addPrintCommands(platform::MainMenu& menu);
    void addEditMenu(platform::MainMenu& menu);
    void addViewMenu(platform::MainMenu& menu);
    void addHelpMenu(platform::MainMenu& menu);

    Outlets _outlets;
    const std::unique_ptr<FileCommands> _files;
    const std::unique_ptr<PictureCommands> _pictures;
    bool _isGridFocused = false;  ///< or was, before a menu took the focus for a while
};
