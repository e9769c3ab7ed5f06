// SPDX-License-Identifier: GPL-3.0-or-later
// Removal and its undo: the part of ImageBrowserDataSource that keeps the grid true to the disk in between
// loads.
#include "images/ImageBrowserDataSource.h"

#include "images/ImageLoad.h"
#include "platform/desktop/BusyPointer.h"
#include "platform/desktop/Recycler.h"
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/UserDefaults.h"
#include "platform/desktop/Workspace.h"
#include "platform/FolderReader.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"

#include <cerrno>
#include <unordered_set>

namespace {

bool isRecursive() {
    return platform::boolReading(appGlobals->objectForKey(PreferenceKeys::imageBrowserRecursive));
}

/// Whether a load of the place would find the item, which is there. A folder below a recursive place is none:
/// what it holds takes a walk.
bool belongsTo(const QString& place, const ImageObject& image) {
    if (image.imageTitle().startsWith(u'.'))
        return false;
    const QString folder = image.imageContainingFolderPath();
    if (folder == place)
        return !isRecursive() || !platform::FolderReader::shared().isFolder(image.imagePath());
    const QString prefix = place.endsWith(u'/') ? place : place + u'/';
    return isRecursive() && folder.startsWith(prefix) &&
           !platform::FolderReader::shared().isFolder(image.imagePath());
}

/// The list of a place's items without those that are gone, and with those that have come and belong there.
ImageList changedList(const ImageList& images, const ImageList& gone, const ImageList& come,
                      const std::optional<QString>& place) {
    ImageList result = imagesWithout(images, gone);
    ImageList entering;
    for (const ImageRef& image : come)
        if (place && belongsTo(*place, *image))
            entering.push_back(image);
    if (!entering.empty()) {
        entering = imagesWithout(entering, result);
        result.insert(result.end(), entering.begin(), entering.end());
        sortImages(result, imageSortOrderSetting());
    }
    return result;
}

/// Notes what changed last: the images are `now`, and no longer what they were before.
void changeInto(const ImageList& images, ImageList& now, ImageList& before) {
    before = imagesWithout(before, images);
    now = imagesWithout(now, images);
    now.insert(now.end(), images.begin(), images.end());
}

}  // namespace

void ImageBrowserDataSource::imageBrowserRemoveItemsAtIndexes(platform::ImageBrowserView&,
                                                              const platform::IndexSet& indexes) {
    auto& workspace = platform::Workspace::sharedWorkspace();
    const platform::BusyPointer busy;
    const QString trash = platform::pathByAppending(platform::homeFolder(), QStringLiteral(".Trash"));
    const ImageListRef images = _images;
    ImageList gone;
    bool allLeave = false;
    {
        const platform::Recycler::Batch batch(workspace.recycler());
        int tag = 0;
        indexes.forEachDescending([&](std::size_t index) {
            const ImageRef& image = images->at(index);
            workspace.performFileOperation(platform::FileOperation::recycle,
                                           image->imageContainingFolderPath(), trash, {image->imageTitle()},
                                           tag);
            allLeave = allLeave || tag > 0;
            if (tag == 0 || tag == -ENOENT)
                gone.push_back(image);
        });
    }
    if (allLeave) {
        gone.clear();
        indexes.forEach([&](std::size_t index) { gone.push_back(images->at(index)); });
    }
    showChanges(gone, {});
    Q_EMIT removalsChanged();
    reloadCurrentlyViewedContents();
}

bool ImageBrowserDataSource::canUndoRemoval() const {
    return platform::Workspace::sharedWorkspace().recycler().canUndo();
}

void ImageBrowserDataSource::undoRemoval() {
    const platform::BusyPointer busy;
    ImageList come;
    bool needsWalk = false;
    const platform::Restoring restoring = platform::Workspace::sharedWorkspace().recycler().undo();
    for (const QString& path : restoring.restored) {
        come.emplace_back(new ImageObject);
        come.back()->setPath(path);
        needsWalk = needsWalk || (isRecursive() && platform::FolderReader::shared().isFolder(path));
    }
    showChanges({}, come);
    select(come);
    Q_EMIT removalsChanged();
    reloadCurrentlyViewedContents();
    if (needsWalk && !isLoading())
        reloadWithPath(_shownPath);
    if (!restoring.failed.empty())
        Q_EMIT restoringFailed(restoring.failed);
}

void ImageBrowserDataSource::showChanges(const ImageList& gone, const ImageList& come) {
    if (_load != nullptr) {
        changeInto(gone, _goneWhileLoading, _comeWhileLoading);
        changeInto(come, _comeWhileLoading, _goneWhileLoading);
    }
    auto changed = std::make_shared<const ImageList>(changedList(*_images, gone, come, _shownPath));
    if (*changed == *_images)
        return;
    _imageBrowserView->prepareForReload();
    setImages(std::move(changed));
    _imageBrowserView->reloadData();
    Q_EMIT itemsChanged();
}

/// Those of the images that are shown; where none is, what is selected stays.
void ImageBrowserDataSource::select(const ImageList& images) {
    platform::IndexSet indexes;
    std::unordered_set<const ImageObject*> wanted;
    for (const ImageRef& image : images)
        wanted.insert(image.data());
    for (std::size_t index = 0; index < _images->size(); ++index)
        if (wanted.contains((*_images)[index].data()))
            indexes.insert(index);
    if (!indexes.isEmpty())
        _imageBrowserView->setSelectionIndexes(indexes, false);
}

ImageListRef ImageBrowserDataSource::withChangesWhileLoading(ImageListRef imported,
                                                             const QString& place) const {
    if (_goneWhileLoading.empty() && _comeWhileLoading.empty())
        return imported;
    return std::make_shared<const ImageList>(
        changedList(*imported, _goneWhileLoading, _comeWhileLoading, place));
}
