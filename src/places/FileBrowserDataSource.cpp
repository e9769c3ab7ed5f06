// SPDX-License-Identifier: GPL-3.0-or-later
#include "places/FileBrowserDataSource.h"

#include "images/ImageBrowserDataSource.h"
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Volumes.h"
#include "platform/desktop/Workspace.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "support/PathAndListHelpers.h"
#include "ui/ImageAndTextCell.h"

#include <QStringList>

#include <algorithm>
#include <tuple>
#include <utility>

using platform::OutlineItem;
using platform::OutlineItemRef;
using platform::OutlineView;
using platform::TableColumn;
using platform::TextFieldCell;

namespace {

/// The home and the pictures folder stand behind the volumes.
constexpr std::size_t userFolderCount = 2;

QString textOfUri(const QByteArray& uri) {
    return QString::fromLatin1(uri);
}

QStringList textsOfUris(const std::vector<QByteArray>& uris) {
    QStringList texts;
    for (const QByteArray& uri : uris)
        texts.append(textOfUri(uri));
    return texts;
}

QByteArrayView withoutTrailingSlash(const QByteArray& uri) {
    return QByteArrayView(uri).chopped(uri.endsWith('/') ? 1 : 0);
}

/// Every item of the outline is one of ours.
FileSystemItem* fileSystemItem(OutlineItem* item) {
    return static_cast<FileSystemItem*>(item);
}

QString descriptionOfItem(const OutlineItem* item) {
    return logging::formatted(u"<FileSystemItem: %p>", {logging::describeAddress(item)});
}

platform::ImageRef storedImage(const QString& key) {
    return appGlobals == nullptr ? nullptr : appGlobals->objectForKey(key).value<platform::ImageRef>();
}

FileSystemItem* childContaining(FileSystemItem& item, const QString& path) {
    const auto* list = std::get_if<FileSystemItem::List>(&item.children());
    if (list == nullptr)
        return nullptr;
    const auto child = std::find_if(list->begin(), list->end(), [&](const auto& each) {
        return platform::isBelowFolder(path, each->fullPath());
    });
    return child == list->end() ? nullptr : child->get();
}

}  // namespace

FileBrowserDataSource::FileBrowserDataSource()
    : _childrenArrived(std::make_shared<FileSystemItem::ChildrenArrived>(
          [this](FileSystemItem& item) { childrenArrived(item); })) {
}

FileBrowserDataSource::~FileBrowserDataSource() {
    *_childrenArrived = nullptr;  // items live on in the outline
}

void FileBrowserDataSource::rescanFileSystems() {
    constexpr const char* method = "-[FileBrowserDataSource rescanFileSystems]";
    logWithMethodName(method, 95, u"Start");
    _mountedVolumes.clear();
    for (const platform::Volume& volume : platform::mountedVolumes())
        _mountedVolumes.push_back(platform::fileUriFromPath(volume.path));
    logWithMethodName(method, 102, u"_mountedVolumes: %@", [&] { return textsOfUris(_mountedVolumes); });

    const QString home = platform::homeFolder();
    logWithMethodName(method, 116, u"currentUserHomeDirectory: %@", home);
    _mountedVolumes.push_back(platform::fileUriFromPath(home));
    logWithMethodName(method, 118, u"currentUserHomeDirectoryURL: %@",
                      [&] { return textOfUri(_mountedVolumes.back()); });

    const QString pictures = getUserFolder(userFolderTemplate(UserFolder::pictures));
    logWithMethodName(method, 123, u"currentUserPicturesDirectory: %@", pictures);
    _mountedVolumes.push_back(platform::fileUriFromPath(pictures));
    logWithMethodName(method, 125, u"currentUserPicturesDirectoryURL: %@",
                      [&] { return textOfUri(_mountedVolumes.back()); });
    logWithMethodName(method, 128, u"End");
}

int FileBrowserDataSource::outlineViewNumberOfChildrenOfItem(OutlineView& /*outline*/, OutlineItem* item) {
    constexpr const char* method = "-[FileBrowserDataSource outlineView:numberOfChildrenOfItem:]";
    int count = 0;
    if (item == nullptr) {
        logWithMethodName(method, 139, u"Call for item nil (root)!");
        rescanFileSystems();
        count = static_cast<int>(_mountedVolumes.size());
    } else {
        count = fileSystemItem(item)->numberOfChildren();
    }
    logWithMethodName(method, 149, u"Returning %i", count);
    return count;
}

OutlineItemRef FileBrowserDataSource::outlineViewChildOfItem(OutlineView& /*outline*/, int index,
                                                             OutlineItem* item) {
    constexpr const char* method = "-[FileBrowserDataSource outlineView:child:ofItem:]";
    std::shared_ptr<FileSystemItem> child;
    if (item == nullptr) {
        logWithMethodName(method, 161, u"returning folders/volumes for root (nil) at index %i...", index);
        const QString path = platform::pathFromFileUri(_mountedVolumes.at(static_cast<std::size_t>(index)));
        logWithMethodName(method, 171, u"Returning path: %@", path);
        child = FileSystemItem::rootItemWithPath(path);
        child->setChildrenArrivedHandler(_childrenArrived);
    } else {
        child = fileSystemItem(item)->childAtIndex(index);
        logWithMethodName(method, 178, u"returning child at index: %i", index);
    }
    logWithMethodName(method, 181, u"Returning: %@", [&] { return descriptionOfItem(child.get()); });
    return child;
}

bool FileBrowserDataSource::outlineViewIsItemExpandable(OutlineView& /*outline*/, OutlineItem* item) {
    const bool isExpandable = item == nullptr || fileSystemItem(item)->numberOfChildren() != -1;
    const auto path = item == nullptr ? std::nullopt : std::optional(fileSystemItem(item)->fullPath());
    logWithMethodName("-[FileBrowserDataSource outlineView:isItemExpandable:]", 86, u"Item %@ has %i items.",
                      path, isExpandable);
    return isExpandable;
}

QString FileBrowserDataSource::outlineViewObjectValueForTableColumnByItem(OutlineView& /*outline*/,
                                                                          TableColumn& column,
                                                                          OutlineItem* item) {
    constexpr const char* method = "-[FileBrowserDataSource outlineView:objectValueForTableColumn:byItem:]";
    if (item == nullptr)
        logWithMethodName(method, 194, u"Why???????????", &column, item);
    QString text = item == nullptr ? QStringLiteral("/") : fileSystemItem(item)->name();
    logWithMethodName(method, 202, u"Returning text for item: %@", text);
    return text;
}

bool FileBrowserDataSource::outlineViewShouldEditTableColumnItem(OutlineView& /*outline*/,
                                                                 TableColumn& /*column*/,
                                                                 OutlineItem* /*item*/) {
    return false;
}

void FileBrowserDataSource::outlineViewWillDisplayCellForTableColumnItem(OutlineView& outline,
                                                                         TextFieldCell& cell,
                                                                         TableColumn& column,
                                                                         OutlineItem* item) {
    constexpr const char* method =
        "-[FileBrowserDataSource outlineView:willDisplayCell:forTableColumn:item:]";
    logWithMethodName(method, 255, u"Updating outline: %p, cell: %p, column: %p, item: %p", &outline, &cell,
                      &column, item);
    logWithMethodName(method, 256, u"Updating outline: %p, cell: %p, column: %p (%@), item: %p", &outline,
                      &cell, &column, column.identifier(), item);
    if (column.identifier() != u"folders") {
        logWithMethodName(method, 357, u"I don't know the column with identifier: \"%@\"",
                          column.identifier());
        return;
    }
    auto* imageAndTextCell = dynamic_cast<ImageAndTextCell*>(&cell);
    if (imageAndTextCell == nullptr)
        return;
    if (item != nullptr)
        fileSystemItem(item)->setNodeIcon(iconOfItem(*fileSystemItem(item)));
    imageAndTextCell->setImage(item == nullptr ? nullptr : fileSystemItem(item)->nodeIcon());
}

platform::ImageRef FileBrowserDataSource::iconOfItem(FileSystemItem& item) const {
    constexpr const char* method =
        "-[FileBrowserDataSource outlineView:willDisplayCell:forTableColumn:item:]";
    platform::Workspace& workspace = platform::Workspace::sharedWorkspace();
    const QString& path = item.fullPath();
    if (item.isLeaf()) {
        logWithMethodName(method, 272, u"itemFullPath (fullPath): %@", path);
        if (path.startsWith(u"http://")) {
            logWithMethodName(method, 283, u"Leaf: Getting URL-icon image for: %@", path);
            return storedImage(PreferenceKeys::imageURL);
        }
        logWithMethodName(method, 288, u"Leaf: Getting file-icon image for: %@", path);
        const bool isFolder = item.numberOfChildren() != -1;
        return workspace.iconForFile(path,
                                     isFolder ? platform::FileKind::folder : platform::FileKind::notFolder);
    }
    platform::ImageRef icon;
    if (path == u"/") {
        logWithMethodName(method, 333, u"Not leaf: Getting NSComputer-icon image for: %@", path);
        icon = workspace.imageNamed(QStringLiteral("NSComputer"));
    } else {
        logWithMethodName(method, 338, u"Not leaf: Getting file-icon image for: %@", path);
        icon = workspace.iconForFile(path, platform::FileKind::folder);
    }
    return icon ? icon : storedImage(PreferenceKeys::imageFolder);
}

void FileBrowserDataSource::outlineViewSelectionDidChange(OutlineView& /*outline*/) {
    constexpr const char* method = "-[FileBrowserDataSource outlineViewSelectionDidChange:]";
    logWithMethodName(
        method, 219,
        u"Since the user changed selection in the folders outline, we should reload the Image Browser...");
    if (!_isSelectingRevealed)
        _folderToReveal.reset();
    if (_imageBrowserDataSource == nullptr) {
        logWithMethodName(method, 236, u"Bummer!");
        return;
    }
    const int row = _fileBrowserOutlineView->selectedRow();
    logWithMethodName(method, 223, u"_imageBrowserDataSource: %p", _imageBrowserDataSource);
    logWithMethodName(method, 224, u"_fileBrowserOutlineView: %p", _fileBrowserOutlineView);
    logWithMethodName(method, 225, u"numberOfRows: %i",
                      [&] { return _fileBrowserOutlineView->numberOfRows(); });
    logWithMethodName(method, 228, u"selRow: %i", row);
    const FileSystemItem* item = fileSystemItem(_fileBrowserOutlineView->itemAtRow(row));
    const auto path = item == nullptr ? std::nullopt : std::optional(item->fullPath());
    logWithMethodName(method, 230, u"fileSystemItem: %p", item);
    logWithMethodName(method, 231, u"[fileSystemItem fullPath]: %@", path);
    _imageBrowserDataSource->reloadWithPath(path);
}

FileSystemItem* FileBrowserDataSource::selectedItem() const {
    const int row = _fileBrowserOutlineView->selectedRow();
    logWithMethodName("-[FileBrowserDataSource selectedItem]", 406, u"selRow: %i", row);
    return fileSystemItem(_fileBrowserOutlineView->itemAtRow(row));
}

void FileBrowserDataSource::reloadContentsOfSelectedItem() {
    logWithMethodName("-[FileBrowserDataSource reloadContentsOfSelectedItem]", 244,
                      u"NOT IMPLEMENTED! HOW TO REACT ANYWAYS?");
}

int FileBrowserDataSource::indexOfVolumeWithURL(const QByteArray& url) const {
    constexpr const char* method = "-[FileBrowserDataSource indexOfVolumeWithURL:]";
    logWithMethodName(method, 365, u"Searching for index of URL equal to: %@",
                      [&] { return textOfUri(url); });
    const auto found =
        std::find_if(_mountedVolumes.begin(), _mountedVolumes.end(), [&](const QByteArray& some) {
            logWithMethodName(method, 372, u"Some URL: %@", [&] { return textOfUri(some); });
            return withoutTrailingSlash(some) == withoutTrailingSlash(url);
        });
    const int index = found == _mountedVolumes.end() ? -1 : static_cast<int>(found - _mountedVolumes.begin());
    logWithMethodName(method, 378, u"Found for index: %i", index);
    return index;
}

int FileBrowserDataSource::indexOfItemWithTitleContainedByItem(const QString& title, FileSystemItem* item) {
    OutlineView& outline = *_fileBrowserOutlineView;
    const int count = outlineViewNumberOfChildrenOfItem(outline, item);
    for (int i = 0; i < count; ++i) {
        logWithMethodName("-[FileBrowserDataSource indexOfItemWithTitle:containedByItem:]", 392,
                          u"Checking item %i", i);
        const OutlineItemRef child = outlineViewChildOfItem(outline, i, item);
        if (child && fileSystemItem(child.get())->name() == title)
            return outline.rowForItem(child.get());
    }
    return -1;
}

void FileBrowserDataSource::childrenArrived(FileSystemItem& item) {
    if (_fileBrowserOutlineView == nullptr)
        return;
    _fileBrowserOutlineView->reloadItem(&item, true);
    if (_folderToReveal && platform::isBelowFolder(*_folderToReveal, item.fullPath()))
        continueReveal();
}

bool FileBrowserDataSource::isUserFolder(const QString& path) const {
    const QByteArray uri = platform::fileUriFromPath(path);
    const std::size_t volumeCount =
        _mountedVolumes.size() - std::min(_mountedVolumes.size(), userFolderCount);
    return std::find(_mountedVolumes.begin() + static_cast<std::ptrdiff_t>(volumeCount),
                     _mountedVolumes.end(), uri) != _mountedVolumes.end();
}

FileSystemItem* FileBrowserDataSource::topLevelItemContaining(const QString& path) const {
    FileSystemItem* best = nullptr;
    std::tuple<bool, bool, qsizetype> bestRank;
    for (int row = 0; row < _fileBrowserOutlineView->numberOfRows(); ++row) {
        FileSystemItem* item = fileSystemItem(_fileBrowserOutlineView->itemAtRow(row));
        if (item == nullptr || item->parent() != nullptr || !platform::isBelowFolder(path, item->fullPath()))
            continue;
        const std::tuple rank(item->fullPath() == _branchToReveal, isUserFolder(item->fullPath()),
                              item->fullPath().size());
        if (best == nullptr || rank >= bestRank) {
            best = item;
            bestRank = rank;
        }
    }
    return best;
}

void FileBrowserDataSource::renamePlace(const QString& path, const QString& name) {
    for (int row = 0; row < _fileBrowserOutlineView->numberOfRows(); ++row) {
        FileSystemItem* item = fileSystemItem(_fileBrowserOutlineView->itemAtRow(row));
        if (item == nullptr || item->parent() != nullptr || item->fullPath() != path)
            continue;
        item->setName(name);
        _fileBrowserOutlineView->reloadItem(item, false);
    }
}

bool FileBrowserDataSource::revealFolder(const QString& path, const FileSystemItem* near) {
    const FileSystemItem* branch = near;
    while (branch != nullptr && branch->parent() != nullptr)
        branch = branch->parent();
    _branchToReveal = branch == nullptr ? QString() : branch->fullPath();
    QString folder = path;
    while (folder.size() > 1 && folder.endsWith(u'/'))
        folder.chop(1);
    if (_fileBrowserOutlineView == nullptr || topLevelItemContaining(folder) == nullptr)
        return false;
    _folderToReveal = folder;
    _hasListedAgain = false;
    continueReveal();
    return true;
}

void FileBrowserDataSource::listSelectedAgain() {
    if (FileSystemItem* item = selectedItem())
        listAgain(*item);
}

void FileBrowserDataSource::listAgain(FileSystemItem& item) {
    item.forgetChildren();
    _fileBrowserOutlineView->reloadItem(&item, true);
}

void FileBrowserDataSource::continueReveal() {
    OutlineView& outline = *_fileBrowserOutlineView;
    FileSystemItem* item = topLevelItemContaining(*_folderToReveal);
    while (item != nullptr && item->fullPath() != *_folderToReveal) {
        outline.expandItem(item);
        FileSystemItem* child = childContaining(*item, *_folderToReveal);
        if (item->isAwaitingChildren())
            return;
        if (child == nullptr && std::exchange(_hasListedAgain, true))
            break;
        if (child != nullptr) {
            item = child;
            continue;
        }
        listAgain(*item);  // it may have been made since
    }
    _folderToReveal.reset();
    if (item == nullptr)
        return;
    _isSelectingRevealed = true;
    outline.selectRow(outline.rowForItem(item), false);
    _isSelectingRevealed = false;
    outline.scrollRowToMiddle(outline.rowForItem(item));
}
