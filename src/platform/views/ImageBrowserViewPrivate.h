// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/GridBookmark.h"
#include "platform/views/GridCellPainter.h"
#include "platform/views/GridFades.h"
#include "platform/views/GridLayout.h"
#include "platform/views/GridModel.h"
#include "platform/views/GridPictures.h"
#include "platform/views/GridSelection.h"
#include "platform/views/GridTitles.h"
#include "platform/views/GridTitleSearch.h"
#include "platform/views/ImageBrowserView.h"

#include <QBasicTimer>
#include <QMultiHash>
#include <QPointer>
#include <QTimer>
#include <QVariantAnimation>

#include <atomic>
#include <optional>

namespace platform {

/// The grid's parts and what binds them. Its functions stand in the files that they serve: the list and the
/// selection in ImageBrowserView.cpp, place and zoom in ImageBrowserViewLayout.cpp, the look and the
/// thumbnails in ImageBrowserViewPainting.cpp, mouse and drags in ImageBrowserViewMouse.cpp, keys and
/// gestures in ImageBrowserViewKeys.cpp.
struct ImageBrowserView::Private {
    explicit Private(ImageBrowserView& view);

    ImageBrowserView& q;
    GridModel model;
    GridLayout layout;
    GridSelection selection;
    GridPictures pictures;
    GridTitles titles;
    GridCellPainter cellPainter;
    GridFades fades;
    GridTitleSearch search;

    ImageBrowserViewDelegate* delegate = nullptr;
    DraggingDestination* draggingDestination = nullptr;
    QPointer<ThumbnailQueue> queue;
    std::atomic<bool> animates = true;
    unsigned cellsStyle = cellsStyleShadowed | cellsStyleTitled;
    QString emptyText;
    QString positionText = QStringLiteral("%1 / %2");
    bool isDimmed = false;
    QTimer dimming;

    // --- the list and the selection
    std::optional<GridBookmark> bookmark;
    std::size_t toldSelectionCount = 0;

    GridBookmark::ItemAt itemAt() const;
    void act(std::size_t index, GridSelection::Mode mode);
    /// Repaints and tells of what a selection's operation changed.
    void selectionChanged(const IndexSet& changed);
    /// The same for what a reload has left of it.
    void tellSelection(const IndexSet& changed);
    void setCurrent(std::optional<std::size_t> index);
    /// The current item was `before` and may be another now.
    void currentMayHaveChanged(std::optional<std::size_t> before);
    void repaintAfterReload(const GridLayout& before, qint64 offsetBefore);
    void open(std::size_t index);

    // --- place and zoom
    /// A point of the content that stays where it is in the viewport while the layout changes.
    struct Anchor {
        std::size_t index = 0;
        double fraction = 0;  ///< of the row's pitch, from the row's top
        double y = 0;         ///< in the viewport
    };
    double zoom = 0.5;        ///< as set
    double shownZoom = 0.5;   ///< as laid out, on its way there
    QVariantAnimation glide;  ///< of shownZoom
    QTimer zoomSettling;      ///< runs until the zoom has come to rest
    std::optional<Anchor> anchor;
    std::optional<QPoint> anchorPoint;  ///< the pointer's place for which the anchor was taken
    bool isLayingOut = false;
    qint64 shownOffset = 0;

    qint64 offset() const { return shownOffset; }
    void setOffset(qint64 offset);
    void relayout();
    void configureLayout();
    void placeByAnchor();
    Anchor anchorAt(QPoint point) const;
    std::optional<Anchor> anchorAtTop() const;
    void zoomTo(double zoom, std::optional<QPoint> around);
    void zoomByUser(double step, std::optional<QPoint> around);
    bool isZooming() const;
    GridLayout::Point contentPoint(QPoint point) const { return {point.x(), point.y() + offset()}; }
    QRect cellRect(std::size_t index) const { return layout.cellRect(index, offset()); }
    std::optional<std::size_t> indexAtPoint(QPoint point) const {
        return layout.indexAt(contentPoint(point));
    }
    std::optional<IndexSet::Range> visibleRange() const;
    void reveal(std::size_t index) { setOffset(layout.offsetShowing(index, offset())); }

    // --- the look and the thumbnails
    QTimer wishing;  ///< one wish list a turn of the event loop
    bool mustCheckFiles = false;
    std::optional<IndexSet::Range> wishedRange;
    int wishedPixels = 0;
    QMultiHash<QString, std::size_t> visibleByPath;
    std::optional<std::size_t> hovered;
    qreal shownRatio = 0;

    void askForThumbnails() { wishing.start(); }
    void sendWishes();
    void thumbnailChanged(const QString& path);
    void updateCell(std::size_t index);
    void updateCells(const IndexSet& indexes);
    void updateCellsOfPath(const QString& path);
    void setHovered(std::optional<std::size_t> index);
    GridLook look() const;
    GridCell cell(std::size_t index);
    void paintEmptyText(QPainter& painter) const;
    QString toolTip(std::size_t index);

    // --- keys
    static double zoomStepForKey(const QKeyEvent& event);
    void moveByKey(GridStep step, Qt::KeyboardModifiers modifiers);

    // --- mouse and drags
    enum class OnRelease { nothing, narrow, toggle };
    std::optional<std::size_t> pressedIndex;
    QPoint pressedPoint;
    OnRelease onRelease = OnRelease::nothing;
    QTimer narrowing;  ///< until a click on one of several selected can no longer become a double-click
    std::optional<std::size_t> narrowIndex;
    std::optional<GridLayout::Point> bandStart;
    QPoint bandPoint;  ///< the pointer, viewport coordinates
    QTimer bandScrolling;

    void press(std::size_t index, Qt::KeyboardModifiers modifiers);
    void narrowNow();
    void forgetNarrowing();
    QRect bandRect() const;
    void startBand(QPoint point, Qt::KeyboardModifiers modifiers);
    void moveBand(QPoint point);
    void scrollBand();
    void endBand();
    void answerDrag(QDragMoveEvent& event, int answer) const;
};

}  // namespace platform
