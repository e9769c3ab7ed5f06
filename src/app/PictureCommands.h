// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QPoint>

class FileCommands;
class ImageBrowserDataSource;
class ImageWindow;
class ImageWindowOpener;

namespace platform {
class MainMenu;
}

/// The commands of the image window in front: how large its picture is, full screen, and the next or previous
/// picture of the grid, which opens in a new window in place of this one. Borrows all it is made with, and
/// the menus. Main thread only.
class PictureCommands : public QObject {
    Q_OBJECT

 public:
    PictureCommands(ImageBrowserDataSource& images, ImageWindowOpener& windows, const FileCommands& files);

    void addZoom(platform::MainMenu& menu);
    void addStepsAndFullScreen(platform::MainMenu& menu);

    /// 1 for the next picture, -1 for the previous one.
    void step(int step);

    /// Whether the picture in front is one of the grid's.
    bool canMoveToTrash() const;
    /// Removes the picture in front from the grid, its file thereby going to the trash, and shows the next
    /// one in its place, or the one before; without another the window closes.
    void moveToTrash();

    /// The width of the text beside the pictures, points, as the user left it last; 0 for the window's own.
    int metadataWidth() const { return _metadataWidth; }
    void setMetadataWidth(int width) { _metadataWidth = width; }

 private:
    void watch(ImageWindow& window, const platform::MainMenu& menu);
    void showMenu(const platform::MainMenu& menu, QPoint globalPosition) const;
    bool canStep(int step) const;

    ImageBrowserDataSource& _images;
    ImageWindowOpener& _windows;
    const FileCommands& _files;
    int _metadataWidth = 0;
};
