// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageWalk.h"

#include "platform/PathBytes.h"
#include "support/Logging.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include <algorithm>

namespace {

constexpr const char* walkName = "-[ImageBrowserDataSource addImagesWithPath:recursive:]";
constexpr const char* addName = "-[ImageBrowserDataSource addAnImageWithPath:]";

long fileSystemOfDescriptor(int descriptor) {
    struct statfs status {};
    return ::fstatfs(descriptor, &status) == 0 ? static_cast<long>(status.f_type) : 0;
}

bool isKernelsOwn(long fileSystem) {
    return fileSystem == PROC_SUPER_MAGIC || fileSystem == SYSFS_MAGIC;
}

}  // namespace

void ImageWalk::addImagesWithPathRecursive(const QString& path, bool recursive) {
    logWithMethodName(walkName, 171, u"Starting to add from %@", path);
    if (platform::isExistingFolder(path)) {
        enterFolder(path, Way::direct);
        workThroughFolders(recursive);
        _batches.finish();
        return;
    }
    logWithMethodName(walkName, 200, u"Adding leaf item: %@", path);
    addAnImageWithPath(path);
    logWithMethodName(walkName, 203, u"End");
}

void ImageWalk::addAnImageWithPath(const QString& path) {
    logWithMethodName(addName, 208, u"Start, path: %@", path);
    if (platform::lastPathComponent(path).startsWith(u'.')) {
        logWithMethodName(addName, 217, u"Skipping file: %@", path);
    } else {
        const ImageRef image(new ImageObject);
        image->setPath(path);
        _batches.addImage(image);
    }
    logWithMethodName(addName, 228, u"End.");
}

void ImageWalk::workThroughFolders(bool recursive) {
    while (!_folders.empty() && !isStopped()) {
        Folder& folder = _folders.back();
        if (folder.position < folder.entries.size()) {
            addEntry(nextEntry(folder), recursive);
            continue;
        }
        logWithMethodName(walkName, 203, u"End");
        _folders.pop_back();
        _descriptor.reset();
    }
    _folders.clear();
    _descriptor.reset();
}

ImageWalk::Entry ImageWalk::nextEntry(Folder& folder) {
    const char* at = folder.entries.constData() + folder.position;
    const Entry entry{QByteArrayView(at + 1), static_cast<platform::EntryKind>(*at)};
    folder.position += entry.name.size() + 2;
    return entry;
}

void ImageWalk::addEntry(const Entry& entry, bool recursive) {
    _isLogging = logging::isEnabled();
    if (!recursive) {
        if (_isLogging)
            logWithMethodName(walkName, 193, u"Adding NOT recursively this: %@", pathOfEntry(entry));
        addLeafEntry(entry, std::nullopt);
        return;
    }
    if (_isLogging) {
        logWithMethodName(walkName, 187, u"Adding recursively this: %@", pathOfEntry(entry));
        logWithMethodName(walkName, 171, u"Starting to add from %@", pathOfEntry(entry));
    }
    platform::EntryKind kind = entry.kind;
    std::optional<platform::FileStatus> status;
    if (kind == platform::EntryKind::unknown)
        if (const auto own = statusOfEntry(entry, platform::FollowLinks::no)) {
            kind = own->kind;
            if (kind != platform::EntryKind::link)
                status = own;
        }
    const Way way = kind == platform::EntryKind::link ? Way::throughLink : Way::direct;
    if (way == Way::throughLink) {
        status = statusOfEntry(entry, platform::FollowLinks::yes);
        kind = status ? status->kind : kind;
    }
    if (kind == platform::EntryKind::folder) {
        enterFolder(pathOfEntry(entry), way);
        return;
    }
    if (_isLogging)
        logWithMethodName(walkName, 200, u"Adding leaf item: %@", pathOfEntry(entry));
    addLeafEntry(entry, status);
    if (_isLogging)
        logWithMethodName(walkName, 203, u"End");
}

void ImageWalk::addLeafEntry(const Entry& entry, const std::optional<platform::FileStatus>& known) {
    if (!_isLogging && !known) {
        if (!entry.name.startsWith('.')) {
            openLastFolder();
            _batches.addEntry(_folders.back().prefix, _descriptor, entry.name);
        }
        return;
    }
    if (_isLogging)
        logWithMethodName(addName, 208, u"Start, path: %@", pathOfEntry(entry));
    if (entry.name.startsWith('.')) {
        if (_isLogging)
            logWithMethodName(addName, 217, u"Skipping file: %@", pathOfEntry(entry));
    } else {
        const auto status = known ? known : statusOfEntry(entry, platform::FollowLinks::yes);
        const ImageRef image(new ImageObject);
        image->setPathInFolder(_folders.back().prefix, platform::pathFromBytes(entry.name), status);
        if (_isLogging)
            ImageObject::logAttributes(status);
        _batches.addImage(image);
    }
    if (_isLogging)
        logWithMethodName(addName, 228, u"End.");
}

void ImageWalk::enterFolder(const QString& path, Way way) {
    Folder folder;
    folder.prefix = path.endsWith(u'/') ? path : path + u'/';
    _descriptor = std::make_shared<const platform::ScopedFileDescriptor>(platform::openFolder(path));
    const auto status = platform::fileStatusOfDescriptor(_descriptor->get());
    if (status && mayEnter(*status, way)) {
        folder.identity = {status->device, status->inode};
        platform::visitFolder(_descriptor->get(), [&](std::string_view name, platform::EntryKind kind) {
            folder.entries += static_cast<char>(kind);
            folder.entries.append(name.data(), static_cast<qsizetype>(name.size()));
            folder.entries += '\0';
            return !isStopped();
        });
    }
    _folders.push_back(std::move(folder));
}

bool ImageWalk::mayEnter(const platform::FileStatus& status, Way way) {
    if (_folders.empty()) {
        _startFileSystem = fileSystemOfDescriptor(_descriptor->get());
        return true;
    }
    const Identity identity{status.device, status.inode};
    if (status.device != _folders.back().identity.first) {
        const long fileSystem = fileSystemOfDescriptor(_descriptor->get());
        if (isKernelsOwn(fileSystem) && fileSystem != _startFileSystem)
            return false;
    }
    if (way == Way::direct)
        return true;
    const bool isInside = std::any_of(_folders.begin(), _folders.end(),
                                      [&](const Folder& folder) { return folder.identity == identity; });
    return !isInside && _enteredThroughLinks.insert(identity).second;
}

QString ImageWalk::pathOfEntry(const Entry& entry) const {
    return _folders.back().prefix + platform::pathFromBytes(entry.name);
}

std::optional<platform::FileStatus> ImageWalk::statusOfEntry(const Entry& entry,
                                                             platform::FollowLinks follow) {
    openLastFolder();
    return platform::fileStatusAt(_descriptor->get(), entry.name.data(), follow);
}

void ImageWalk::openLastFolder() {
    if (_descriptor == nullptr)
        _descriptor = std::make_shared<const platform::ScopedFileDescriptor>(
            platform::openFolder(_folders.back().prefix));
}
