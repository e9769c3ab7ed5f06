// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"

#include <QAbstractItemView>

#include <cstddef>
#include <memory>

class QContextMenuEvent;

namespace platform {

class ImageBrowserView;
class ThumbnailQueue;

/// One item of the grid; owned by the data source, and valid until it changes its list.
class ImageBrowserItem {
 public:
    enum class RepresentationType { path };

    virtual ~ImageBrowserItem() = default;
    virtual RepresentationType imageRepresentationType() const = 0;
    /// The file's path.
    virtual QString imageRepresentation() const = 0;
    /// What makes this item the same one after a reload.
    virtual QString imageUID() const = 0;
    virtual QString imageTitle() const = 0;
    virtual QString imageSubtitle() const = 0;
};

/// Feeds the grid; asked nothing before the first reloadData().
class ImageBrowserViewDataSource {
 public:
    virtual ~ImageBrowserViewDataSource() = default;
    virtual std::size_t numberOfItemsInImageBrowser(ImageBrowserView& view) = 0;
    virtual ImageBrowserItem* imageBrowserItemAtIndex(ImageBrowserView& view, std::size_t index) = 0;
};

/// Is told what the user does in the grid.
class ImageBrowserViewDelegate {
 public:
    virtual ~ImageBrowserViewDelegate() = default;
    virtual void imageBrowserCellWasDoubleClickedAtIndex(ImageBrowserView& view, std::size_t index) = 0;
    virtual void imageBrowserRemoveItemsAtIndexes(ImageBrowserView& view, const IndexSet& indexes) = 0;
    virtual void imageBrowserSelectionDidChange(ImageBrowserView& view) = 0;
};

/// Answers drags over the grid.
class DraggingDestination {
 public:
    virtual ~DraggingDestination() = default;
    /// 1 is Copy, 0 none.
    virtual int draggingEntered() = 0;
    virtual int draggingUpdated() = 0;
    /// Whether the drop was taken.
    virtual bool performDragOperation() = 0;
};

/// Bits of the cells' look.
enum CellsStyle : unsigned { cellsStyleShadowed = 1, cellsStyleTitled = 4 };

/// The grid of thumbnails. Its cost depends on what is visible, never on the number of items. Main thread
/// only, but for setAnimates(). Borrows its data source, delegate and thumbnail queue.
class ImageBrowserView : public QAbstractItemView {
    Q_OBJECT

 public:
    explicit ImageBrowserView(QWidget* parent = nullptr);
    ~ImageBrowserView() override;

    void setDataSource(ImageBrowserViewDataSource* dataSource);
    void setBrowserDelegate(ImageBrowserViewDelegate* delegate);
    void setDraggingDestinationDelegate(DraggingDestination* destination);
    void setThumbnailQueue(ThumbnailQueue* queue);

    /// The data source is about to change its list: the view notes what is selected, current and at its top.
    void prepareForReload();
    /// The list has changed: counts anew; keeps selection, current item, scroll position and thumbnails of
    /// the items that stay (by imageUID), and has the visible cells' files checked again.
    void reloadData();
    /// Dims what is shown while a load of another folder runs; nothing is removed.
    void setLoading(bool loading);

    IndexSet selectionIndexes() const;
    void setSelectionIndexes(const IndexSet& indexes, bool byExtendingSelection);

    /// 0 to 1: the size of the cells from the smallest to the largest.
    void setZoomValue(float zoom);
    float zoomValue() const;
    /// Whether changes glide. Any thread.
    void setAnimates(bool animates);
    bool animates() const;
    void setAllowsReordering(bool allows);
    void setCellsStyleMask(unsigned mask);
    unsigned cellsStyleMask() const;
    void setNeedsDisplay(bool needs);

    /// Opens what is selected, as a double-click on the current cell does.
    void openCurrentItem();
    /// Asks the delegate to remove what is selected.
    void removeSelectedItems();

 Q_SIGNALS:
    /// The user zoomed by wheel, pinch or key; the slider follows.
    void zoomValueChanged(float zoom);
    void selectionCountChanged(std::size_t count);
    /// A context menu is asked for at a global position.
    void contextMenuAsked(QPoint globalPosition);

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
