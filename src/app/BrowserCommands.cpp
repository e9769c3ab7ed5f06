// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/BrowserCommands.h"

#include "app/FileCommands.h"
#include "app/MainWindow.h"
#include "app/PictureCommands.h"
#include "app/TavlinAppDelegate.h"
#include "app/Texts.h"
#include "app/ZoomSlider.h"
#include "images/ImageBrowserDataSource.h"
#include "places/FileBrowserDataSource.h"
#include "platform/desktop/MainMenu.h"
#include "platform/desktop/Workspace.h"
#include "platform/Guard.h"
#include "platform/PathBytes.h"
#include "platform/views/ImageBrowserView.h"
#include "platform/views/ImageView.h"
#include "platform/views/OutlineView.h"
#include "scripts/ScriptsDataSource.h"
#include "viewer/ImageWindow.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QUrl>

namespace {

constexpr float zoomStep = 0.1F;
const QString undoName = QStringLiteral("Undo");
const QString moveToTrashName = QStringLiteral("MoveToTrash");

}  // namespace

BrowserCommands::BrowserCommands(const Outlets& outlets, QObject* parent)
    : QObject(parent),
      _outlets(outlets),
      _files(std::make_unique<FileCommands>(outlets.window, outlets.images)),
      _pictures(std::make_unique<PictureCommands>(outlets.images, outlets.imageWindows, *_files)) {
}

BrowserCommands::~BrowserCommands() = default;

void BrowserCommands::fillMenu(platform::MainMenu& menu) {
    addFileMenu(menu);
    addEditMenu(menu);
    addViewMenu(menu);
    addHelpMenu(menu);
    followTarget(menu);
}

void BrowserCommands::addFileMenu(platform::MainMenu& menu) {
    menu.addMenu(QStringLiteral("File"), text("MainMenuFile"));
    _files->addOpenWithAndShow(menu);
    menu.addSeparator();
    addPrintCommands(menu);
    menu.addSeparator();
    menu.addCommand({.name = QStringLiteral("Close"),
                     .text = text("MainMenuClose"),
                     .keyEquivalent = QStringLiteral("w"),
                     .shortcuts = {},
                     .action = [this] { closeWindow(); },
                     .hasTarget =
                         [this] {
                             return windowToClose() != nullptr;
                         }});
    menu.addCommand({.name = QStringLiteral("Quit"),
                     .text = text("MainMenuQuit"),
                     .keyEquivalent = QStringLiteral("q"),
                     .shortcuts = {},
                     .action = [] { platform::Application::shared()->terminate(); },
                     .hasTarget = {}});
}

void BrowserCommands::addPrintCommands(platform::MainMenu& menu) {
    menu.addCommand({.name = QStringLiteral("PageSetup"),
                     .text = text("MainMenuPageSetup"),
                     .keyEquivalent = {},
                     .shortcuts = {QKeySequence(QStringLiteral("Ctrl+Shift+P"))},
                     .action = [this] { _outlets.delegate.openPageSetupDialog(this); },
                     .hasTarget = {}});
    menu.addCommand({.name = QStringLiteral("Print"),
                     .text = text("MainMenuPrint"),
                     .keyEquivalent = QStringLiteral("p"),
                     .shortcuts = {},
                     .action = [this] { _outlets.delegate.openPrintingDialog(this); },
                     .hasTarget = {}});
}

void BrowserCommands::addEditMenu(platform::MainMenu& menu) {
    menu.addMenu(QStringLiteral("Edit"), text("MainMenuEdit"));
    menu.addCommand({.name = undoName,
                     .text = text("MainMenuUndo"),
                     .keyEquivalent = QStringLiteral("z"),
                     .shortcuts = {},
                     .action = [this] { undoRemoval(); },
                     .hasTarget =
                         [this] {
                             return (isMainWindowInFront() || frontImageWindow() != nullptr) &&
                                    _outlets.images.canUndoRemoval();
                         }});
    menu.addSeparator();
    _files->addCopy(menu);
    menu.addCommand({.name = moveToTrashName,
                     .text = text("MainMenuMoveToTrash"),
                     .keyEquivalent = {},
                     .shortcuts = {QKeySequence(Qt::Key_Delete)},
                     .action = [this] { moveToTrash(); },
                     .hasTarget =
                         [this] {
                             return canMoveToTrash();
                         }});
    menu.addCommand({.name = QStringLiteral("SelectAll"),
                     .text = text("MainMenuSelectAll"),
                     .keyEquivalent = QStringLiteral("a"),
                     .shortcuts = {},
                     .action = [this] { selectAll(); },
                     .hasTarget =
                         [this] {
                             return isMainWindowInFront();
                         }});
    menu.addSeparator();
    QAction* preferences =
        menu.addCommand({.name = QStringLiteral("Preferences"),
                         .text = text("MainMenuPreferences"),
                         .keyEquivalent = QStringLiteral(","),
                         .shortcuts = {},
                         .action = [this] { _outlets.delegate.openPreferencesWindow(this); },
                         .hasTarget = {}});
    preferences->setVisible(
        platform::InterfaceDescriptions::shared().contains(QStringLiteral("PreferencesWindow")));
}

void BrowserCommands::addViewMenu(platform::MainMenu& menu) {
    const auto inFront = [this] {
        return isMainWindowInFront();
    };
    const auto isZoomable = [this] {
        return canZoom();
    };
    menu.addMenu(QStringLiteral("View"), text("MainMenuView"));
    menu.addCommand({.name = QStringLiteral("ZoomIn"),
                     .text = text("MainMenuZoomIn"),
                     .keyEquivalent = QStringLiteral("+"),
                     .shortcuts = {QKeySequence(QStringLiteral("Ctrl+="))},
                     .action = [this] { zoomIn(); },
                     .hasTarget = isZoomable});
    menu.addCommand({.name = QStringLiteral("ZoomOut"),
                     .text = text("MainMenuZoomOut"),
                     .keyEquivalent = QStringLiteral("-"),
                     .shortcuts = {},
                     .action = [this] { zoomOut(); },
                     .hasTarget = isZoomable});
    _pictures->addZoom(menu);
    menu.addSeparator();
    _pictures->addStepsAndFullScreen(menu);
    menu.addSeparator();
    menu.addCommand({.name = QStringLiteral("GoToParentFolder"),
                     .text = text("MainMenuGoToParentFolder"),
                     .keyEquivalent = {},
                     .shortcuts = {QKeySequence(QStringLiteral("Alt+Up"))},
                     .action = [this] { goToParentFolder(); },
                     .hasTarget = inFront});
    menu.addCommand({.name = QStringLiteral("Reload"),
                     .text = text("MainMenuReload"),
                     .keyEquivalent = {},
                     .shortcuts = {QKeySequence(QStringLiteral("F5"))},
                     .action = [this] { reloadFolder(); },
                     .hasTarget = inFront});
}

void BrowserCommands::addHelpMenu(platform::MainMenu& menu) {
    menu.addMenu(QStringLiteral("Help"), text("MainMenuHelp"));
    QAction* about = menu.addCommand({.name = QStringLiteral("About"),
                                      .text = text("MainMenuAbout"),
                                      .keyEquivalent = QStringLiteral("i"),
                                      .shortcuts = {},
                                      .action = [this] { _outlets.delegate.openAboutWindow(this); },
                                      .hasTarget = {}});
    about->setVisible(platform::InterfaceDescriptions::shared().contains(QStringLiteral("AboutWindow")));
}

void BrowserCommands::showGridMenu(const platform::MainMenu& menu, QPoint globalPosition) {
    auto* popUp = new QMenu(&_outlets.window);
    popUp->setAttribute(Qt::WA_DeleteOnClose);
    QAction* open = popUp->addAction(text("MainMenuOpen"));
    open->setEnabled(!_outlets.images.selectedItems().isEmpty());
    connect(open, &QAction::triggered, &_outlets.window.grid(), &platform::ImageBrowserView::openCurrentItem);
    popUp->addSeparator();
    _files->addTo(*popUp, menu);
    popUp->addSeparator();
    for (const QString& name : {moveToTrashName, undoName}) {
        menu.validate(name);
        popUp->addAction(menu.action(name));
    }
    popUp->addSeparator();
    for (const char* name : {"SelectAll", "GoToParentFolder", "Reload"})
        popUp->addAction(menu.action(QString::fromLatin1(name)));
    popUp->popup(globalPosition);
}

void BrowserCommands::showScriptMenu(int row, QPoint globalPosition) {
    auto* popUp = new QMenu(&_outlets.window);
    popUp->setAttribute(Qt::WA_DeleteOnClose);
    QAction* run = popUp->addAction(text("ScriptsMenuRun"));
    run->setEnabled(row >= 0);
    connect(run, &QAction::triggered, this, [this, row] {
        platform::guarded("running a script",
                          [&] { _outlets.scripts.doubleClickOnRow(static_cast<std::uint32_t>(row)); });
    });
    connect(popUp->addAction(text("ScriptsMenuOpenFolder")), &QAction::triggered, this, [] {
        const QByteArray address = platform::fileUriFromPath(ScriptsDataSource::scriptsFolder());
        platform::Workspace::sharedWorkspace().openUrl(QUrl::fromEncoded(address));
    });
    popUp->popup(globalPosition);
}

void BrowserCommands::zoomIn() {
    if (const ImageWindow* window = frontImageWindow()) {
        window->imageView().zoomIn();
        return;
    }
    ZoomSlider& slider = _outlets.window.zoomSlider();
    slider.setFloatValue(slider.floatValue() + zoomStep);
}

void BrowserCommands::zoomOut() {
    if (const ImageWindow* window = frontImageWindow()) {
        window->imageView().zoomOut();
        return;
    }
    ZoomSlider& slider = _outlets.window.zoomSlider();
    slider.setFloatValue(slider.floatValue() - zoomStep);
}

void BrowserCommands::goToParentFolder() {
    const FileSystemItem* place = selectedPlace();
    if (place == nullptr)
        return;
    if (place->parent() != nullptr) {
        platform::OutlineView& outline = _outlets.window.outline();
        outline.selectRow(outline.rowForItem(place->parent()), false);
    } else if (const QString path = place->fullPath(); path != u"/") {
        _outlets.places.revealFolder(platform::pathByDeletingLastComponent(path));
    }
}

void BrowserCommands::reloadFolder() {
    _outlets.places.listSelectedAgain();
    if (const FileSystemItem* place = selectedPlace())
        _outlets.images.reloadWithPath(place->fullPath());
}

void BrowserCommands::selectAll() {
    _outlets.window.grid().selectAll();
}

void BrowserCommands::moveToTrash() {
    if (frontImageWindow() != nullptr)
        _pictures->moveToTrash();
    else if (canMoveToTrash())
        _outlets.window.grid().removeSelectedItems();
}

void BrowserCommands::undoRemoval() {
    _outlets.images.undoRemoval();
}

/// The main window is closed by quitting.
QWidget* BrowserCommands::windowToClose() const {
    const QList<QWidget*> windows = platform::Application::shared()->orderedWindows();
    return windows.isEmpty() || windows.constFirst() == &_outlets.window ? nullptr : windows.constFirst();
}

void BrowserCommands::closeWindow() {
    if (QWidget* window = windowToClose())
        window->close();
}

bool BrowserCommands::canZoom() const {
    return isMainWindowInFront() || frontImageWindow() != nullptr;
}

bool BrowserCommands::canMoveToTrash() const {
    if (frontImageWindow() != nullptr)
        return _pictures->canMoveToTrash();
    return isMainWindowInFront() && _isGridFocused && !_outlets.images.selectedItems().isEmpty();
}

void BrowserCommands::followTarget(platform::MainMenu& menu) {
    const auto validate = [&menu] {
        menu.validate(moveToTrashName);
        menu.validate(undoName);
    };
    connect(qApp, &QApplication::focusChanged, this, [this, validate](QWidget*, QWidget* now) {
        if (now == nullptr || qobject_cast<QMenuBar*>(now) != nullptr || qobject_cast<QMenu*>(now) != nullptr)
            return;
        _isGridFocused = now == &_outlets.window.grid();
        validate();
    });
    connect(&_outlets.window.grid(), &platform::ImageBrowserView::selectionCountChanged, this, validate);
    connect(&_outlets.images, &ImageBrowserDataSource::removalsChanged, this, validate);
    connect(&_outlets.images, &ImageBrowserDataSource::itemsChanged, this, validate);
}

FileSystemItem* BrowserCommands::selectedPlace() const {
    const platform::OutlineView& outline = _outlets.window.outline();
    return dynamic_cast<FileSystemItem*>(outline.itemAtRow(outline.selectedRow()));
}

bool BrowserCommands::isMainWindowInFront() const {
    const QList<QWidget*> windows = platform::Application::shared()->orderedWindows();
    return !windows.isEmpty() && windows.constFirst() == &_outlets.window;
}
