// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PictureCommands.h"

#include "app/FileCommands.h"
#include "app/ImageWindowOpener.h"
#include "app/Texts.h"
#include "images/ImageBrowserDataSource.h"
#include "platform/desktop/Application.h"
#include "platform/desktop/MainMenu.h"
#include "platform/views/ImageView.h"
#include "viewer/ImageWindow.h"
#include "viewer/ImageWindowController.h"

#include <QAction>
#include <QMenu>

namespace {

const QString fitName = QStringLiteral("ZoomToFit");
const QString actualSizeName = QStringLiteral("ActualSize");
const QString nextName = QStringLiteral("NextPicture");
const QString previousName = QStringLiteral("PreviousPicture");
const QString fullScreenName = QStringLiteral("FullScreen");

bool hasImageWindow() {
    return frontImageWindow() != nullptr;
}

void zoomInFront(void (platform::ImageView::*zoom)()) {
    if (const ImageWindow* window = frontImageWindow())
        (window->imageView().*zoom)();
}

void toggleFullScreenInFront() {
    if (ImageWindow* window = frontImageWindow())
        window->toggleFullScreen();
}

}  // namespace

PictureCommands::PictureCommands(ImageBrowserDataSource& images, ImageWindowOpener& windows,
                                 const FileCommands& files)
    : _images(images), _windows(windows), _files(files) {
}

void PictureCommands::addZoom(platform::MainMenu& menu) {
    menu.addCommand({.name = fitName,
                     .text = text("MainMenuZoomToFit"),
                     .keyEquivalent = QStringLiteral("0"),
                     .shortcuts = {},
                     .action = [] { zoomInFront(&platform::ImageView::zoomToFit); },
                     .hasTarget = hasImageWindow});
    menu.addCommand({.name = actualSizeName,
                     .text = text("MainMenuActualSize"),
                     .keyEquivalent = QStringLiteral("1"),
                     .shortcuts = {},
                     .action = [] { zoomInFront(&platform::ImageView::zoomToActualSize); },
                     .hasTarget = hasImageWindow});
}

void PictureCommands::addStepsAndFullScreen(platform::MainMenu& menu) {
    menu.addCommand({.name = nextName,
                     .text = text("MainMenuNextPicture"),
                     .keyEquivalent = {},
                     .shortcuts = {QKeySequence(Qt::Key_PageDown)},
                     .action = [this] { step(1); },
                     .hasTarget =
                         [this] {
                             return canStep(1);
                         }});
    menu.addCommand({.name = previousName,
                     .text = text("MainMenuPreviousPicture"),
                     .keyEquivalent = {},
                     .shortcuts = {QKeySequence(Qt::Key_PageUp)},
                     .action = [this] { step(-1); },
                     .hasTarget =
                         [this] {
                             return canStep(-1);
                         }});
    menu.addSeparator();
    menu.addCommand({.name = fullScreenName,
                     .text = text("MainMenuFullScreen"),
                     .keyEquivalent = {},
                     .shortcuts = {QKeySequence(Qt::Key_F11)},
                     .action = toggleFullScreenInFront,
                     .hasTarget = hasImageWindow});
    connect(&_images, &ImageBrowserDataSource::itemsChanged, this, [&menu] {
        menu.validate(nextName);
        menu.validate(previousName);
    });
    connect(&_windows, &ImageWindowOpener::opened, this, [this, &menu](QWidget& opened) {
        if (auto* window = qobject_cast<ImageWindow*>(&opened))
            watch(*window, menu);
    });
}

void PictureCommands::watch(ImageWindow& window, const platform::MainMenu& menu) {
    if (_metadataWidth > 0)
        window.setTextWidth(_metadataWidth);
    connect(&window, &ImageWindow::textWidthChanged, this, &PictureCommands::setMetadataWidth);
    connect(&window, &ImageWindow::stepAsked, this, &PictureCommands::step);
    connect(&window, &ImageWindow::contextMenuAsked, this,
            [this, &menu](QPoint position) { showMenu(menu, position); });
}

void PictureCommands::showMenu(const platform::MainMenu& menu, QPoint globalPosition) const {
    auto* popUp = new QMenu(frontImageWindow());
    popUp->setAttribute(Qt::WA_DeleteOnClose);
    _files.addTo(*popUp, menu);
    popUp->addSeparator();
    for (const QString& name : {fitName, actualSizeName, fullScreenName, nextName, previousName,
                                QStringLiteral("MoveToTrash"), QStringLiteral("Close")}) {
        menu.validate(name);
        popUp->addAction(menu.action(name));
    }
    popUp->popup(globalPosition);
}

void PictureCommands::step(int step) {
    ImageWindow* window = frontImageWindow();
    if (window == nullptr)
        return;
    if (const auto path = _images.neighbourOfPath(window->windowController().filePath(), step))
        _windows.openInPlaceOf(*window, {QStringLiteral("ImageWindow"), &_images, *path});
}

bool PictureCommands::canMoveToTrash() const {
    const ImageWindow* window = frontImageWindow();
    return window != nullptr && _images.indexOfPath(window->windowController().filePath()).has_value();
}

void PictureCommands::moveToTrash() {
    ImageWindow* window = frontImageWindow();
    if (window == nullptr)
        return;
    const QString path = window->windowController().filePath();
    const std::optional<std::size_t> index = _images.indexOfPath(path);
    if (!index)
        return;
    std::optional<QString> shownNext = _images.neighbourOfPath(path, 1);
    if (!shownNext)
        shownNext = _images.neighbourOfPath(path, -1);
    _images.removeItem(*index);
    if (_images.indexOfPath(path))  // it could not be moved
        return;
    if (shownNext)
        _windows.openInPlaceOf(*window, {QStringLiteral("ImageWindow"), &_images, *shownNext});
    else
        window->close();
}

bool PictureCommands::canStep(int step) const {
    const ImageWindow* window = frontImageWindow();
    return window != nullptr &&
           _images.neighbourOfPath(window->windowController().filePath(), step).has_value();
}
