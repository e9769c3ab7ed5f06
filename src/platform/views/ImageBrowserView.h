// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"

#include <QAbstractItemView>
#include <QIcon>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

class ImageBrowserView;
class ThumbnailQueue;

/// One item of the grid; owned by the data source, and valid until it changes its list. Made on any thread.
class ImageBrowserItem {
 public:
    enum class RepresentationType { path };

    ImageBrowserItem() = default;
    virtual ~ImageBrowserItem() = default;
    ImageBrowserItem(const ImageBrowserItem&) = delete;
    ImageBrowserItem& operator=(const ImageBrowserItem&) = delete;

    /// Which object this is, unlike its address never used again: so the grid knows after a reload, without
    /// a string per item, which items have stayed.
    std::uint64_t serialNumber() const { return _serialNumber; }

    virtual RepresentationType imageRepresentationType() const = 0;
    /// The file's path.
    virtual QString imageRepresentation() const = 0;
    /// What tells this item from all others; never changes.
    virtual QString imageUID() const = 0;
    virtual QString imageTitle() const = 0;
    virtual QString imageSubtitle() const = 0;

 private:
    inline static std::atomic<std::uint64_t> _lastSerialNumber = 0;
    const std::uint64_t _serialNumber = _lastSerialNumber.fetch_add(1, std::memory_order_relaxed) + 1;
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
/// only, but for setAnimates(). Borrows its data source, delegate and thumbnail queue. The selection is its
/// own (selectionIndexes()); the toolkit's selection model holds the current item alone.
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
    /// the items that stay (the same objects), and has the visible cells' files checked again. Where the
    /// current item went, the next one becomes current. Without prepareForReload() nothing stays selected.
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
    void setNeedsDisplay(bool needs);

    /// Answers the icon of a file that is no picture.
    void setIconProvider(std::function<QIcon(const QString& path)> provider);
    /// The icon of a file, where its cell shows one, turned out to be another.
    void replaceIcon(const QString& path, const QIcon& icon);
    /// Whether the file at a path is a picture: as far as it has been looked at of late, else by its name. A
    /// name that tells nothing may be a picture's.
    bool isPicture(const QString& path) const;
    /// What an empty grid says in its middle; nothing by default.
    void setEmptyText(const QString& text);
    /// How an item's place is told to assistive tools, with %1 and %2 for its number and the count.
    void setPositionText(const QString& text);

    /// Opens what is selected, as a double-click on the current cell does.
    void openCurrentItem();
    /// Asks the delegate to remove what is selected.
    void removeSelectedItems();

 Q_SIGNALS:
    /// The user zoomed by wheel, pinch or key; the slider follows.
    void zoomValueChanged(float zoom);
    void selectionCountChanged(std::size_t count);
    /// The user or a call selected others, also where these are as many. Not sent where a reload took some
    /// away.
    void selectedAnew();
    /// A context menu is asked for at a global position.
    void contextMenuAsked(QPoint globalPosition);

 public:
    // What the toolkit asks of an item view.
    QRect visualRect(const QModelIndex& index) const override;
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint& point) const override;
    void doItemsLayout() override;
    void reset() override;
    void selectAll() override;
    void keyboardSearch(const QString& letters) override;

 protected:
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override;
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex& index) const override;
    void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection& selection) const override;
    QModelIndexList selectedIndexes() const override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    void startDrag(Qt::DropActions supportedActions) override;

    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

 private:
    friend class GridAccessible;
    friend class GridCellAccessible;
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
