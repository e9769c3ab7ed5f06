// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <memory>

class FileBrowserDataSource;
class ImageBrowserDataSource;
class ImageWindowOpener;

namespace platform {
struct FolderContents;
}

/// Opens what the command line, another start or the desktop names: each file in a window, and in the places
/// the first of the folders, or the first file's folder where no folder is named. What is not there is told
/// on standard error. A place that does not answer in time is gone to at once; whether a file is meant shows
/// when the answer comes. Borrows all it is made with. Main thread only.
class PathsOpener {
 public:
    PathsOpener(FileBrowserDataSource& places, ImageBrowserDataSource& images, ImageWindowOpener& windows);

    /// Answers whether any of the absolute paths may be there.
    bool open(const QStringList& paths);

 private:
    /// Answers whether there is something at the path.
    bool openFile(const QString& path, const platform::FolderContents& status);

    FileBrowserDataSource& _places;
    ImageBrowserDataSource& _images;
    ImageWindowOpener& _windows;
    std::shared_ptr<const void> _lateAnswers;  ///< their owner
};
