// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "images/ImageMerge.h"
#include "images/ImageObject.h"

#include "platform/desktop/Recycler.h"
#include "platform/IndexSet.h"
#include "platform/views/ImageBrowserView.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class FileBrowserDataSource;
class FileSystemItem;
class ImageLoad;
class ImageLoadMeeting;
class QTimer;

namespace platform {
class Control;
class OutlineView;
class TableView;
}  // namespace platform

/// Owns the list that the image browser shows, fills it from the folder selected in the places outline, and
/// answers what the user does in the image browser. Main thread only; each load runs on a detached thread of
/// its own (ImageLoad), and the shown list changes only on the main thread, once a load.
///
/// The list belongs to the place asked for last. A load overtaken by one of another path ends early and
/// merges nothing; a request for the path that is being loaded waits for that load, at most one. Until the
/// merge the view shows what it showed, dimmed when another path is coming.
class ImageBrowserDataSource : public QObject,
                               public platform::ImageBrowserViewDataSource,
                               public platform::ImageBrowserViewDelegate,
                               public platform::DraggingDestination {
    Q_OBJECT

 public:
    explicit ImageBrowserDataSource(QObject* parent = nullptr);
    /// Waits for no load: those under way end by themselves and merge nothing.
    ~ImageBrowserDataSource() override;

    /// The outlets, all borrowed; set before awakeFromNib(), and valid until this object or the main loop
    /// ends.
    void setImageBrowserView(platform::ImageBrowserView* view);
    void setImageBrowserSizeSlider(platform::Control* slider) { _imageBrowserSizeSlider = slider; }
    void setScriptsTableView(platform::TableView* table) { _scriptsTableView = table; }
    void setFileBrowserOutlineView(platform::OutlineView* outline) { _fileBrowserOutlineView = outline; }
    void setFileBrowserDataSource(FileBrowserDataSource* dataSource) { _fileBrowserDataSource = dataSource; }

    /// Opens an image window by its interface description's name, with this object as sender, for a path.
    using ImageWindowOpener =
        std::function<void(const QString& nibName, ImageBrowserDataSource& sender, const QString& path)>;
    void setImageWindowOpener(ImageWindowOpener opener) { _imageWindowOpener = std::move(opener); }

    /// Once, after the outlets are set.
    void awakeFromNib();

    /// Starts loading the folder (or file) and returns at once; an absent path does nothing.
    void reloadWithPath(const std::optional<QString>& path);
    /// Gives up a load that walks this folder or one below it, as its volume goes: what is shown stays.
    void abandonLoadBelow(const QString& folder);
    /// Reloads the folder selected in the places outline, unless that is the outline's first row.
    void reloadCurrentlyViewedContents();
    /// Merges _importedImages into _images, sorts as the settings say and has the view reload.
    void updateDatasource();

    /// Indexes are not checked beyond the list's own exception.
    QString pathAtIndex(std::size_t index) const;
    /// The same path: no URL.
    QString urlAtIndex(std::size_t index) const;
    /// Whether an existing folder is at the item's path; no for a place that does not answer in time.
    bool isFolderAtIndex(std::size_t index) const;
    /// Whether the item is a picture, as far as the view has found out, else by its name; a file whose name
    /// tells nothing may be one. Asks no file system for what was examined when it was loaded.
    bool isPictureAtIndex(std::size_t index) const;
    /// Where an item of this path is. In proportion to the list for a path that is not in it and the first
    /// time, then quick.
    std::optional<std::size_t> indexOfPath(const QString& path);
    /// The path of the nearest picture after (1) or before (-1) an item of this path; nothing at the ends of
    /// the list, where it is more than 20,000 items away, and for a path that is not in it.
    std::optional<QString> neighbourOfPath(const QString& path, int step);
    platform::IndexSet selectedItems() const;
    std::size_t numberOfImages() const { return _images->size(); }

    /// The place whose items are shown; nothing before the first load.
    const std::optional<QString>& shownPath() const { return _shownPath; }
    /// Whether a load that will be merged is under way, and how many items it has found.
    bool isLoading() const { return _load != nullptr; }
    std::size_t numberFound() const;

    std::size_t numberOfItemsInImageBrowser(platform::ImageBrowserView& view) override;
    platform::ImageBrowserItem* imageBrowserItemAtIndex(platform::ImageBrowserView& view,
                                                        std::size_t index) override;

    void imageBrowserCellWasDoubleClickedAtIndex(platform::ImageBrowserView& view,
                                                 std::size_t index) override;
    /// Moves the items so that they end up together, in their order, before what is at `destination` now.
    /// Always true.
    bool imageBrowserMoveItemsAtIndexesToIndex(platform::ImageBrowserView& view,
                                               const platform::IndexSet& indexes, std::size_t destination);
    /// Moves the items' files to the trash, one after the other from the last on, and waits for the disk.
    /// Those whose files went leave the view at once; what could not be moved stays, in the view as on the
    /// disk.
    void imageBrowserRemoveItemsAtIndexes(platform::ImageBrowserView& view,
                                          const platform::IndexSet& indexes) override;
    /// The same for one item.
    void removeItem(std::size_t index) { imageBrowserRemoveItemsAtIndexes(*_imageBrowserView, {index}); }
    void imageBrowserSelectionDidChange(platform::ImageBrowserView& view) override;

    /// Brings the files of the last removal back, and those that belong to the shown place into the view,
    /// selected. What could not be brought back can be tried again.
    void undoRemoval();
    bool canUndoRemoval() const;

    /// Any drag would be copied, and every drop is refused.
    int draggingEntered() override { return 1; }
    int draggingUpdated() override { return 1; }
    bool performDragOperation() override { return false; }

    /// The zoom slider's action.
    void zoomSliderDidChange(const platform::Control& sender);

 Q_SIGNALS:
    void loadingChanged(bool isLoading);
    /// While a load runs, about ten times a second.
    void numberFoundChanged(std::size_t numberFound);
    /// There is more, or less, to undo.
    void removalsChanged();
    /// These are not back; said last of all that an undo tells.
    void restoringFailed(const std::vector<platform::NotRestored>& files);
    /// The view has been given a new list.
    void itemsChanged();
    /// The user went into a folder of the view, whose row is selected now if the outline knows it.
    void folderEntered(const QString& path);

 private:
    void startLoad(const QString& path);
    void finishLoad(const std::shared_ptr<ImageLoad>& load);
    void setLoad(std::shared_ptr<ImageLoad> load);
    void stopLoading();
    void setImages(ImageListRef images);
    /// Items whose files have just gone, and such as have come, leave and enter the view at once.
    void showChanges(const ImageList& gone, const ImageList& come);
    void select(const ImageList& images);
    /// A load's items, corrected by what was removed or restored behind its back.
    ImageListRef withChangesWhileLoading(ImageListRef imported, const QString& place) const;
    void openFolderOfItem(std::size_t index, FileSystemItem* place);
    void openSelectedFiles();
    platform::ImageBrowserView* _imageBrowserView = nullptr;
    platform::Control* _imageBrowserSizeSlider = nullptr;
    platform::TableView* _scriptsTableView = nullptr;
    platform::OutlineView* _fileBrowserOutlineView = nullptr;
    FileBrowserDataSource* _fileBrowserDataSource = nullptr;
    ImageListRef _images;
    ImageListRef _importedImages;  ///< what the next merge takes; empty between merges

    PreparedMerge _prepared;

    /// Where a path was looked for last: in which list, and its index there.
    struct {
        std::weak_ptr<const ImageList> images;
        QString path;
        std::optional<std::size_t> index;
    } _lastFound;

    ImageWindowOpener _imageWindowOpener;
    std::shared_ptr<ImageLoadMeeting> _meeting;
    std::shared_ptr<ImageLoad> _load;   ///< the load of the place asked for last, null when it is done
    bool _reloadsAgain = false;         ///< a request for that same place waits
    bool _isStopped = false;            ///< the main loop has ended
    ImageList _goneWhileLoading;        ///< removed, and not restored, since _load began
    ImageList _comeWhileLoading;        ///< restored, and not removed, since _load began
    std::optional<QString> _shownPath;  ///< the place whose items are shown
    QTimer* _progressTimer;
};
