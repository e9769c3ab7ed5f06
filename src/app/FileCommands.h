// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

class ImageBrowserDataSource;
class ImageWindow;
class MainWindow;
class QMenu;

namespace platform {
class FileProgram;
class MainMenu;
}  // namespace platform

/// The image window in front of all the program's windows, or null.
ImageWindow* frontImageWindow();

/// What the desktop does with files: copy them, open them in another program, show them in the file manager.
/// The files are that of the image window in front, or those selected in the main window's grid. Borrows all
/// it is made with. Main thread only.
class FileCommands : public QObject {
    Q_OBJECT

 public:
    FileCommands(MainWindow& window, ImageBrowserDataSource& images);

    void addOpenWithAndShow(platform::MainMenu& menu);
    void addCopy(platform::MainMenu& menu);
    /// Adds all of them to a context menu, validated.
    void addTo(QMenu& popUp, const platform::MainMenu& menu) const;

    void copyFiles() const;
    void showInFileManager() const;

 private:
    std::size_t numberOfFiles() const;
    QStringList files() const;
    bool areFewFiles() const;
    void fillOpenWith(QMenu& menu);
    static void addPrograms(QMenu& menu, const std::vector<platform::FileProgram>& programs,
                            const QStringList& paths);

    MainWindow& _window;
    ImageBrowserDataSource& _images;
    std::unique_ptr<QObject> _search;  ///< stands for the programs that the submenu shown last waits for
};
