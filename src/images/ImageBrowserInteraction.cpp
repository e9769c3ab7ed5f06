// SPDX-License-Identifier: GPL-3.0-or-later
// What the user does in the image browser: the other half of ImageBrowserDataSource.
#include "images/ImageBrowserDataSource.h"

#include "places/FileBrowserDataSource.h"
#include "places/FileSystemItem.h"
#include "platform/views/Control.h"
#include "platform/views/OutlineView.h"
#include "support/Logging.h"

#include <stdexcept>

namespace {

constexpr const char* doubleClickName = "-[ImageBrowserDataSource imageBrowser:cellWasDoubleClickedAtIndex:]";

}  // namespace

void ImageBrowserDataSource::imageBrowserCellWasDoubleClickedAtIndex(platform::ImageBrowserView&,
                                                                     std::size_t index) {
    logWithMethodName(doubleClickName, 471, u"Doubleclicked.");
    FileSystemItem* place = _fileBrowserDataSource->selectedItem();
    if (isFolderAtIndex(index))
        openFolderOfItem(index, place);
    else
        openSelectedFiles();
}

void ImageBrowserDataSource::openFolderOfItem(std::size_t index, FileSystemItem* place) {
    const QString title = _images->at(index)->imageTitle();
    const QString path = pathAtIndex(index);
    logWithMethodName(doubleClickName, 485, u"Doubleclick hit folder, so open the folder: %@", path);
    if (place != nullptr)
        _fileBrowserOutlineView->expandItem(place);
    const int row = _fileBrowserDataSource->indexOfItemWithTitleContainedByItem(title, place);
    _fileBrowserOutlineView->expandItem(_fileBrowserOutlineView->itemAtRow(row));
    _fileBrowserOutlineView->selectRow(row, false);
    reloadWithPath(path);
    Q_EMIT folderEntered(path);
}

void ImageBrowserDataSource::openSelectedFiles() {
    const platform::IndexSet selection = selectedItems();
    if (selection.isEmpty()) {
        logWithMethodName(doubleClickName, 561, u"Nothing selected...");
        return;
    }
    selection.forEach([this](std::size_t index) {
        logWithMethodName(doubleClickName, 554,
                          u"Doubleclick hit file, so open file(s) in new window(s)...!");
        const QString path = pathAtIndex(index);
        _lastFound = {_images, path, index};
        if (_imageWindowOpener)
            _imageWindowOpener(QStringLiteral("ImageWindow"), *this, path);
    });
}

bool ImageBrowserDataSource::imageBrowserMoveItemsAtIndexesToIndex(platform::ImageBrowserView&,
                                                                   const platform::IndexSet& indexes,
                                                                   std::size_t destination) {
    constexpr const char* name = "-[ImageBrowserDataSource imageBrowser:moveItemsAtIndexes:toIndex:]";
    logWithMethodName(name, 370, u"destinationIndex: %i", destination);
    logWithMethodName(name, 371, u"indexes         : %@", indexes);
    logWithMethodName(name, 372, u"_images count   : %i", _images->size());
    auto images = std::make_shared<ImageList>(*_images);
    ImageList moved;
    indexes.forEachDescending([&](std::size_t index) {
        if (index < destination)
            --destination;
        moved.push_back(images->at(index));
        images->erase(images->begin() + static_cast<std::ptrdiff_t>(index));
    });
    if (destination > images->size())
        throw std::out_of_range("the images are moved beyond the end of their list");
    for (const ImageRef& image : moved)
        images->insert(images->begin() + static_cast<std::ptrdiff_t>(destination), image);
    setImages(std::move(images));
    logWithMethodName(name, 394, u"_images count   : %i", _images->size());
    return true;
}

void ImageBrowserDataSource::imageBrowserSelectionDidChange(platform::ImageBrowserView&) {
    logWithMethodName("-[ImageBrowserDataSource imageBrowserSelectionDidChange:]", 43, u"(ignore)");
}

void ImageBrowserDataSource::zoomSliderDidChange(const platform::Control& sender) {
    _imageBrowserView->setZoomValue(sender.floatValue());
    _imageBrowserView->setNeedsDisplay(true);
}
