// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FileCommands.h"

#include "app/MainWindow.h"
#include "app/Texts.h"
#include "images/ImageBrowserDataSource.h"
#include "platform/desktop/Application.h"
#include "platform/desktop/FileProgram.h"
#include "platform/desktop/MainMenu.h"
#include "platform/desktop/Workspace.h"
#include "platform/views/ImageBrowserView.h"
#include "viewer/ImageWindow.h"
#include "viewer/ImageWindowController.h"

#include <QIcon>
#include <QMenu>

namespace {

/// Some programs start once for each file, and the file manager opens a window for each folder.
constexpr std::size_t mostFilesAtOnce = 100;
const QString copyName = QStringLiteral("Copy");
const QString openWithName = QStringLiteral("OpenWith");
const QString showName = QStringLiteral("ShowInFileManager");

}  // namespace

ImageWindow* frontImageWindow() {
    const QList<QWidget*> windows = platform::Application::shared()->orderedWindows();
    return windows.isEmpty() ? nullptr : qobject_cast<ImageWindow*>(windows.constFirst());
}

FileCommands::FileCommands(MainWindow& window, ImageBrowserDataSource& images)
    : _window(window), _images(images) {
}

void FileCommands::addOpenWithAndShow(platform::MainMenu& menu) {
    const auto areFew = [this] {
        return areFewFiles();
    };
    menu.addSubmenu(openWithName, text("MainMenuOpenWith"), areFew,
                    [this](QMenu& submenu) { fillOpenWith(submenu); });
    menu.addCommand({.name = showName,
                     .text = text("MainMenuShowInFileManager"),
                     .keyEquivalent = {},
                     .shortcuts = {},
                     .action = [this] { showInFileManager(); },
                     .hasTarget = areFew});
}

void FileCommands::addCopy(platform::MainMenu& menu) {
    menu.addCommand({.name = copyName,
                     .text = text("MainMenuCopy"),
                     .keyEquivalent = QStringLiteral("c"),
                     .shortcuts = {},
                     .action = [this] { copyFiles(); },
                     .hasTarget =
                         [this] {
                             return numberOfFiles() > 0;
                         }});
    connect(&_window.grid(), &platform::ImageBrowserView::selectionCountChanged, this,
            [&menu] { menu.validate(copyName); });
}

void FileCommands::addTo(QMenu& popUp, const platform::MainMenu& menu) const {
    for (const QString& name : {copyName, openWithName, showName}) {
        menu.validate(name);
        popUp.addAction(menu.action(name));
    }
}

void FileCommands::copyFiles() const {
    platform::Workspace::sharedWorkspace().copyFiles(files());
}

void FileCommands::showInFileManager() const {
    platform::Workspace::sharedWorkspace().showInFileManager(files());
}

std::size_t FileCommands::numberOfFiles() const {
    if (frontImageWindow() != nullptr)
        return 1;
    const QList<QWidget*> windows = platform::Application::shared()->orderedWindows();
    return windows.isEmpty() || windows.constFirst() != &_window ? 0 : _images.selectedItems().count();
}

QStringList FileCommands::files() const {
    if (const ImageWindow* window = frontImageWindow())
        return {window->windowController().filePath()};
    QStringList paths;
    if (numberOfFiles() > 0)
        _images.selectedItems().forEach([&](std::size_t index) { paths += _images.pathAtIndex(index); });
    return paths;
}

bool FileCommands::areFewFiles() const {
    const std::size_t count = numberOfFiles();
    return count > 0 && count <= mostFilesAtOnce;
}

void FileCommands::fillOpenWith(QMenu& menu) {
    const QStringList paths = files();
    _search = std::make_unique<QObject>();
    menu.addAction(text("OpenWithMenuLooking"))->setEnabled(false);
    platform::findProgramsForFiles(paths, *_search,
                                   [&menu, paths](const std::vector<platform::FileProgram>& programs) {
                                       addPrograms(menu, programs, paths);
                                   });
}

void FileCommands::addPrograms(QMenu& menu, const std::vector<platform::FileProgram>& programs,
                               const QStringList& paths) {
    menu.clear();
    if (programs.empty())
        menu.addAction(text("OpenWithMenuNone"))->setEnabled(false);
    for (const platform::FileProgram& program : programs) {
        QString name = program.name();
        connect(menu.addAction(program.icon(), name.replace(u'&', QStringLiteral("&&"))), &QAction::triggered,
                &menu, [program, paths] { program.open(paths); });
    }
}
