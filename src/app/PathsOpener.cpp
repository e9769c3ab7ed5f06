// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/PathsOpener.h"

#include "app/ImageWindowOpener.h"
#include "images/ImageBrowserDataSource.h"
#include "places/FileBrowserDataSource.h"
#include "platform/desktop/CommandLine.h"
#include "platform/FolderReader.h"
#include "platform/PathBytes.h"

#include <cstdio>

using platform::FolderContents;

PathsOpener::PathsOpener(FileBrowserDataSource& places, ImageBrowserDataSource& images,
                         ImageWindowOpener& windows)
    : _places(places), _images(images), _windows(windows), _lateAnswers(std::make_shared<int>()) {
}

bool PathsOpener::open(const QStringList& paths) {
    QString folder;
    QString folderOfFile;
    for (const QString& path : paths) {
        const auto tellLate = [this, path](const FolderContents& status) {
            openFile(path, status);
        };
        const auto status = platform::FolderReader::shared().contents(path, platform::FolderDetail::status,
                                                                      {_lateAnswers, tellLate});
        if (status && status->isFolder)
            folder = folder.isNull() ? path : folder;
        else if ((!status || openFile(path, *status)) && folderOfFile.isNull())
            // Going to a path that may be a folder ends at what there is of it.
            folderOfFile = status ? platform::pathByDeletingLastComponent(path) : path;
    }
    const QString& shown = folder.isNull() ? folderOfFile : folder;
    if (!shown.isNull())
        _places.revealFolder(shown);
    return !shown.isNull();
}

bool PathsOpener::openFile(const QString& path, const FolderContents& status) {
    if (!status.modificationTime) {
        std::fputs(platform::nothingThereText(path).constData(), stderr);
        return false;
    }
    if (!status.isFolder)
        _windows.open(QStringLiteral("ImageWindow"), _images, path);
    return true;
}
