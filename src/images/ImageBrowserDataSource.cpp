// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageBrowserDataSource.h"

#include "images/ImageLoad.h"
#include "places/FileBrowserDataSource.h"
#include "places/FileSystemItem.h"
#include "platform/FolderReader.h"
#include "platform/PathBytes.h"
#include "platform/views/Control.h"
#include "platform/views/OutlineView.h"
#include "support/Logging.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <iterator>

namespace {

const ImageListRef& noImages() {
    static const ImageListRef list = std::make_shared<const ImageList>();
    return list;
}

/// Items that are no pictures on the way to a neighbour; each is asked what it is on the main thread.
constexpr std::ptrdiff_t mostPassedOver = 20'000;

}  // namespace

ImageBrowserDataSource::ImageBrowserDataSource(QObject* parent)
    : QObject(parent),
      _images(noImages()),
      _importedImages(noImages()),
      _meeting(std::make_shared<ImageLoadMeeting>(
          this, [this](const std::shared_ptr<ImageLoad>& load) { finishLoad(load); })),
      _progressTimer(new QTimer(this)) {
    using namespace std::chrono_literals;
    _progressTimer->setInterval(100ms);
    connect(_progressTimer, &QTimer::timeout, this, [this] { Q_EMIT numberFoundChanged(numberFound()); });
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &ImageBrowserDataSource::stopLoading);
}

ImageBrowserDataSource::~ImageBrowserDataSource() {
    stopLoading();
}

void ImageBrowserDataSource::setImageBrowserView(platform::ImageBrowserView* view) {
    _imageBrowserView = view;
    _meeting->setView(view);
}

void ImageBrowserDataSource::awakeFromNib() {
    setImages(noImages());
    _importedImages = noImages();
    _imageBrowserView->setAllowsReordering(false);
    _imageBrowserView->setDraggingDestinationDelegate(this);
    zoomSliderDidChange(*_imageBrowserSizeSlider);
    _imageBrowserView->setCellsStyleMask(platform::cellsStyleShadowed | platform::cellsStyleTitled);
}

void ImageBrowserDataSource::reloadWithPath(const std::optional<QString>& path) {
    constexpr const char* name = "-[ImageBrowserDataSource reloadWithPath:]";
    logWithMethodName(name, 95, u"Reloading for path: %@", path);
    if (!path)
        return;
    logWithMethodName(name, 104, u"urls: %@", [&] { return QStringList{*path}; });
    if (_isStopped)
        return;
    if (_load != nullptr && _load->paths().constFirst() == *path)
        _reloadsAgain = true;
    else
        startLoad(*path);
}

void ImageBrowserDataSource::startLoad(const QString& path) {
    constexpr const char* name = "-[ImageBrowserDataSource reloadWithPath:]";
    if (_load != nullptr)
        _load->stop();
    _reloadsAgain = false;
    _goneWhileLoading.clear();
    _comeWhileLoading.clear();
    auto load = std::make_shared<ImageLoad>(QStringList{path}, _meeting);
    logWithMethodName(name, 107, u"Detaching new thread...");
    const bool isDetached = load->detach();
    if (isDetached)
        logWithMethodName(name, 109, u"Detaching new thread...DONE");
    else
        logWithMethodName(name, currentLine(), u"No thread could be started, nothing is loaded.");
    setLoad(isDetached ? std::move(load) : nullptr);
}

void ImageBrowserDataSource::abandonLoadBelow(const QString& folder) {
    if (_load == nullptr || !platform::isBelowFolder(_load->paths().constFirst(), folder))
        return;
    _load->stop();
    _reloadsAgain = false;
    setLoad(nullptr);
}

void ImageBrowserDataSource::setLoad(std::shared_ptr<ImageLoad> load) {
    const bool wasLoading = isLoading();
    _load = std::move(load);
    _imageBrowserView->setLoading(isLoading() && _load->paths().constFirst() != _shownPath);
    if (isLoading() == wasLoading)
        return;
    if (isLoading())
        _progressTimer->start();
    else
        _progressTimer->stop();
    Q_EMIT loadingChanged(isLoading());
}

void ImageBrowserDataSource::finishLoad(const std::shared_ptr<ImageLoad>& load) {
    if (load != _load)
        return;
    if (load->prepared().merged != nullptr) {
        _prepared = load->prepared();
        _shownPath = load->paths().constFirst();
        _importedImages = withChangesWhileLoading(_prepared.imported, *_shownPath);
        updateDatasource();
    }
    if (_reloadsAgain)
        startLoad(load->paths().constFirst());
    else
        setLoad(nullptr);
}

void ImageBrowserDataSource::stopLoading() {
    _isStopped = true;
    _meeting->close();
    if (_load != nullptr)
        _load->stop();
    _load.reset();
    _progressTimer->stop();
}

void ImageBrowserDataSource::updateDatasource() {
    const ImageSortOrder order = imageSortOrderSetting();
    if (!_prepared.isMadeOf(_images, _importedImages, order))
        _prepared = preparedMerge(_images, _importedImages, order);
    _imageBrowserView->prepareForReload();
    setImages(_prepared.merged);
    _prepared = {};
    _importedImages = noImages();
    _imageBrowserView->reloadData();
    Q_EMIT itemsChanged();
}

void ImageBrowserDataSource::reloadCurrentlyViewedContents() {
    const int row = _fileBrowserOutlineView->selectedRow();
    if (row == 0)
        return;
    const auto* item = static_cast<FileSystemItem*>(_fileBrowserOutlineView->itemAtRow(row));
    reloadWithPath(item != nullptr ? std::optional(item->fullPath()) : std::nullopt);
}

void ImageBrowserDataSource::setImages(ImageListRef images) {
    _images = std::move(images);
    _meeting->setShownImages(_images);
}

QString ImageBrowserDataSource::pathAtIndex(std::size_t index) const {
    return _images->at(index)->imagePath();
}

QString ImageBrowserDataSource::urlAtIndex(std::size_t index) const {
    return pathAtIndex(index);
}

bool ImageBrowserDataSource::isFolderAtIndex(std::size_t index) const {
    return platform::FolderReader::shared().isFolder(pathAtIndex(index));
}

bool ImageBrowserDataSource::isPictureAtIndex(std::size_t index) const {
    const ImageObject& image = *_images->at(index);
    if (image.kind() == platform::EntryKind::folder)
        return false;
    return _imageBrowserView->isPicture(image.imagePath()) &&
           (image.kind() == platform::EntryKind::regularFile || !isFolderAtIndex(index));
}

std::optional<QString> ImageBrowserDataSource::neighbourOfPath(const QString& path, int step) {
    const std::optional<std::size_t> place = indexOfPath(path);
    if (!place)
        return std::nullopt;
    const auto from = static_cast<std::ptrdiff_t>(*place);
    const std::ptrdiff_t first = std::max<std::ptrdiff_t>(0, from - mostPassedOver);
    const std::ptrdiff_t last = std::min(std::ssize(*_images) - 1, from + mostPassedOver);
    for (std::ptrdiff_t index = from + step; index >= first && index <= last; index += step)
        if (isPictureAtIndex(static_cast<std::size_t>(index)))
            return pathAtIndex(static_cast<std::size_t>(index));
    return std::nullopt;
}

/// Looks around where the last one was found: a picture's neighbour is asked for, or the same in a list that
/// has changed a little.
std::optional<std::size_t> ImageBrowserDataSource::indexOfPath(const QString& path) {
    if (_lastFound.images.lock() == _images && _lastFound.path == path)
        return _lastFound.index;
    const QString title = platform::lastPathComponent(path);
    const auto isAt = [&](std::size_t index) {
        const ImageObject& image = *_images->at(index);
        return image.imageTitle() == title && image.imagePath() == path;
    };
    const std::size_t count = _images->size();
    std::size_t below = std::min(_lastFound.index.value_or(0), count);
    std::size_t above = below;
    std::optional<std::size_t> found;
    while (!found && (below > 0 || above < count)) {
        if (above < count && isAt(above++))
            found = above - 1;
        else if (below > 0 && isAt(--below))
            found = below;
    }
    _lastFound = {_images, path, found};
    return found;
}

platform::IndexSet ImageBrowserDataSource::selectedItems() const {
    return _imageBrowserView->selectionIndexes();
}

std::size_t ImageBrowserDataSource::numberFound() const {
    return _load != nullptr ? _load->numberFound() : 0;
}

std::size_t ImageBrowserDataSource::numberOfItemsInImageBrowser(platform::ImageBrowserView&) {
    const std::size_t count = _images->size();
    logWithMethodName("-[ImageBrowserDataSource numberOfItemsInImageBrowser:]", 68, u"c: %i", count);
    return count;
}

platform::ImageBrowserItem* ImageBrowserDataSource::imageBrowserItemAtIndex(platform::ImageBrowserView&,
                                                                            std::size_t index) {
    return _images->at(index).data();
}
