// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/OutlineView.h"

#include "platform/Guard.h"
#include "platform/views/OutlineItemDelegate.h"
#include "platform/views/OutlineMemory.h"
#include "platform/views/OutlineModel.h"
#include "platform/views/OutlineRows.h"
#include "platform/views/PaneFocus.h"
#include "platform/views/TextFieldCell.h"
#include "platform/views/ViewColumn.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QScopedValueRollback>

namespace platform {

struct OutlineView::Private {
    explicit Private(OutlineView& outline);

    bool isAnswering() const { return model->isAsking() || isTellingDelegate; }
    TextFieldCell& filledCell(const QModelIndex& index);
    void tellSelectionChange();

    void beginReload();
    void finishReload();
    void restoreExpansion(const QModelIndex& index);
    void restoreExpansionBelow(const QModelIndex& parent);
    void restoreSelection();
    void restorePosition();
    void noteExpanded(const QModelIndex& index);
    void noteCollapsed(const QModelIndex& index);

    OutlineView& view;
    OutlineViewDelegate* delegate = nullptr;
    std::unique_ptr<TextFieldCell> cell = std::make_unique<TextFieldCell>();
    std::unique_ptr<TableColumn> column;
    OutlineModel* model;
    OutlineMemory memory;
    OutlineRows rows;
    bool isTellingDelegate = false;  ///< of a cell, while drawing
    int selectionChanges = 0;        ///< how often the delegate was told
    /// While true, the rows change by a reload and not by the user: nothing is noted and nobody told.
    bool isQuiet = false;
    bool isReloadPending = false;
    OutlinePlace topPlace;                    ///< at the upper edge of the view before the reload
    OutlinePlace currentPlace;                ///< with the keyboard focus before the reload
    QPersistentModelIndex selectedMeanwhile;  ///< by the handler that asked for the reload
};

OutlineView::OutlineView(QWidget* parent) : QTreeView(parent), _d(std::make_unique<Private>(*this)) {
    setColumnIdentifier(QString());
    setModel(_d->model);
    setItemDelegate(new OutlineItemDelegate(
        [this](const QModelIndex& i) -> TextFieldCell& { return _d->filledCell(i); }, this));
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setVerticalScrollMode(ScrollPerPixel);
    header()->setSectionsMovable(false);
    connect(this, &QTreeView::expanded, this, [this](const QModelIndex& index) { _d->noteExpanded(index); });
    connect(this, &QTreeView::collapsed, this,
            [this](const QModelIndex& index) { _d->noteCollapsed(index); });
}

OutlineView::~OutlineView() = default;

void OutlineView::setDataSource(OutlineViewDataSource* dataSource) {
    _d->model->setDataSource(dataSource);
}

void OutlineView::setDelegate(OutlineViewDelegate* delegate) {
    _d->delegate = delegate;
}

OutlineViewDelegate* OutlineView::delegate() const {
    return _d->delegate;
}

TableColumn* OutlineView::tableColumnWithIdentifier(const QString& identifier) const {
    return _d->column->identifier() == identifier ? _d->column.get() : nullptr;
}

void OutlineView::setColumnIdentifier(const QString& identifier) {
    _d->column = std::make_unique<ViewColumn>(identifier, [this] {
        setAccessibleName(_d->column->headerTitle());
        Q_EMIT _d->model->headerDataChanged(Qt::Horizontal, 0, 0);
    });
    _d->model->setColumn(_d->column.get());
}

void OutlineView::setDataCell(std::unique_ptr<TextFieldCell> cell) {
    _d->cell = std::move(cell);
    scheduleDelayedItemsLayout();
}

void OutlineView::reloadData() {
    if (_d->isAnswering())
        QMetaObject::invokeMethod(
            this, [this] { reloadData(); }, Qt::QueuedConnection);
    else
        _d->beginReload();
}

void OutlineView::reloadItem(OutlineItem* item, bool reloadChildren) {
    if (_d->isAnswering()) {
        QMetaObject::invokeMethod(
            this, [this, item, reloadChildren] { reloadItem(item, reloadChildren); }, Qt::QueuedConnection);
        return;
    }
    const QModelIndex index = _d->model->indexForItem(item);
    if (!index.isValid())
        return;
    const QScopedValueRollback quiet(_d->isQuiet, true);
    _d->model->reloadNode(index);
    if (!reloadChildren)
        return;
    _d->model->reloadBelow(index, [this](const QModelIndex& i) { return isExpanded(i); });
    if (!_d->isReloadPending)
        _d->restoreExpansion(index);
    _d->restoreSelection();
}

int OutlineView::numberOfRows() const {
    return _d->rows.count();
}

int OutlineView::selectedRow() const {
    const auto& selection = _d->memory.selection();
    for (auto item = selection.rbegin(); item != selection.rend(); ++item) {
        int row = _d->rows.rowForIndex(item->index);
        if (row < 0 && _d->isReloadPending)
            row = _d->rows.rowForIndex(_d->model->indexForPlace({item->place.first()}));
        if (row >= 0)
            return row;
    }
    return -1;
}

int OutlineView::rowForItem(const OutlineItem* item) const {
    return _d->rows.rowForIndex(_d->model->indexForItem(item));
}

OutlineItem* OutlineView::itemAtRow(int row) const {
    return _d->model->itemForIndex(_d->rows.indexAtRow(row)).get();
}

void OutlineView::expandItem(OutlineItem* item) {
    const QModelIndex index = _d->model->indexForItem(item);
    if (!index.isValid() || !_d->model->isExpandable(index))
        return;
    _d->model->fetchMore(index);
    expand(index);
}

void OutlineView::collapseItem(OutlineItem* item) {
    const QModelIndex index = _d->model->indexForItem(item);
    if (!index.isValid())
        return;
    _d->memory.setExpanded(index, false);
    collapse(index);
}

void OutlineView::selectRow(int row, bool byExtendingSelection) {
    const QModelIndex index = _d->rows.indexAtRow(row);
    if (!index.isValid())
        return;
    const int changes = _d->selectionChanges;
    const bool hasForgotten = !byExtendingSelection && _d->memory.forgetRowless();
    if (_d->isReloadPending)
        _d->selectedMeanwhile = index;
    selectionModel()->setCurrentIndex(
        index, (byExtendingSelection ? QItemSelectionModel::Select : QItemSelectionModel::ClearAndSelect) |
                   QItemSelectionModel::Rows);
    if (hasForgotten && changes == _d->selectionChanges)
        _d->tellSelectionChange();
}

void OutlineView::scrollRowToMiddle(int row) {
    const QModelIndex index = _d->rows.indexAtRow(row);
    if (index.isValid())
        scrollTo(index, PositionAtCenter);
}

void OutlineView::deselectRow(int row) {
    const QModelIndex index = _d->rows.indexAtRow(row);
    if (!index.isValid())
        return;
    const int changes = _d->selectionChanges;
    const bool hasForgotten = _d->isReloadPending && _d->memory.forgetRowless(index);
    selectionModel()->select(index, QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
    if (hasForgotten && changes == _d->selectionChanges)
        _d->tellSelectionChange();
}

void OutlineView::drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const {
    if (!_d->model->isExpandable(index))
        return;
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = rect;
    if (isRightToLeft())
        option.rect.setWidth(indentation());
    else
        option.rect.setLeft(rect.right() + 1 - indentation());
    option.state |= QStyle::State_Item | QStyle::State_Children;
    option.state.setFlag(QStyle::State_Open, isExpanded(index));
    if (selectionModel()->isSelected(index)) {
        const QBrush brush = option.palette.brush(QPalette::HighlightedText);
        for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
            option.palette.setBrush(role, brush);
    }
    style()->drawPrimitive(QStyle::PE_IndicatorBranch, &option, painter, this);
}

/// The asterisk would expand all below a row, which for a file system is without end: it expands the row.
void OutlineView::initViewItemOption(QStyleOptionViewItem* option) const {
    QTreeView::initViewItemOption(option);
    if (!hasFocus())
        option->palette = withoutFocus(option->palette);
}

void OutlineView::keyPressEvent(QKeyEvent* event) {
    _d->finishReload();
    if (event->key() == Qt::Key_Asterisk)
        expand(currentIndex());
    else
        QTreeView::keyPressEvent(event);
}

void OutlineView::mousePressEvent(QMouseEvent* event) {
    const QModelIndex index = indexAt(event->pos());
    const QRect frame = visualRect(index);
    if (frame.contains(event->pos()) &&
        _d->cell->hitTestForEventInRectOfView(event->position(), frame) == CellHit::none)
        event->ignore();
    else
        QTreeView::mousePressEvent(event);
}

void OutlineView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
    QTreeView::selectionChanged(selected, deselected);
    if (_d->isQuiet)
        return;
    if (!_d->isReloadPending)
        _d->memory.forgetRowless();
    _d->memory.noteSelectionChange(selected, deselected);
    _d->tellSelectionChange();
}

bool OutlineView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::Wheel)
        _d->finishReload();
    return QTreeView::viewportEvent(event);
}

/// The first to hear of changed rows: before the view, which asks for them.
OutlineView::Private::Private(OutlineView& outline)
    : view(outline), model(new OutlineModel(outline, &outline)), memory(*model), rows(outline) {
    const auto markChanged = [this] {
        rows.markChanged();
    };
    QObject::connect(model, &QAbstractItemModel::rowsInserted, &view, markChanged);
    QObject::connect(model, &QAbstractItemModel::rowsAboutToBeRemoved, &view, markChanged);
    QObject::connect(model, &QAbstractItemModel::rowsRemoved, &view, markChanged);
    QObject::connect(model, &QAbstractItemModel::layoutChanged, &view, markChanged);
}

TextFieldCell& OutlineView::Private::filledCell(const QModelIndex& index) {
    cell->setTitle(index.data().toString());
    const OutlineItemRef item = model->itemForIndex(index);
    if (delegate) {
        const QScopedValueRollback telling(isTellingDelegate, true);
        guarded("outline: will display cell", [&] {
            delegate->outlineViewWillDisplayCellForTableColumnItem(view, *cell, *column, item.get());
        });
    }
    return *cell;
}

void OutlineView::Private::tellSelectionChange() {
    ++selectionChanges;
    if (delegate)
        guarded("outline: selection did change", [&] { delegate->outlineViewSelectionDidChange(view); });
}

void OutlineView::Private::beginReload() {
    if (!isReloadPending) {
        topPlace = model->placeForIndex(view.indexAt(QPoint(0, 0)));
        currentPlace = model->placeForIndex(view.currentIndex());
        selectedMeanwhile = QPersistentModelIndex();
        isReloadPending = true;
        QMetaObject::invokeMethod(
            &view, [this] { finishReload(); }, Qt::QueuedConnection);
    }
    const QScopedValueRollback quiet(isQuiet, true);
    view.collapseAll();
    model->reloadTop();
}

void OutlineView::Private::finishReload() {
    if (!isReloadPending || isAnswering())
        return;
    isReloadPending = false;
    const QScopedValueRollback quiet(isQuiet, true);
    memory.forgetGonePlaces();
    restoreExpansionBelow({});
    restoreSelection();
    restorePosition();
}

void OutlineView::Private::restoreExpansion(const QModelIndex& index) {
    if (!memory.isExpanded(index))
        return;
    model->fetchMore(index);
    view.expand(index);
    restoreExpansionBelow(index);
}

void OutlineView::Private::restoreExpansionBelow(const QModelIndex& parent) {
    for (int i = 0; i < model->rowCount(parent); ++i)
        restoreExpansion(model->index(i, 0, parent));
}

void OutlineView::Private::restoreSelection() {
    for (const QModelIndex& index : memory.takeNewlyFound())
        view.selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void OutlineView::Private::restorePosition() {
    view.executeDelayedItemsLayout();
    const QModelIndex current = model->indexForPlace(currentPlace);
    if (!selectedMeanwhile.isValid() && rows.rowForIndex(current) >= 0)
        view.selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    const QModelIndex top = model->indexForPlace(topPlace);
    if (rows.rowForIndex(top) >= 0)
        view.scrollTo(top, PositionAtTop);
    if (rows.rowForIndex(selectedMeanwhile) >= 0)
        view.scrollTo(selectedMeanwhile);
}

/// What was expanded below when the branch was collapsed, or selected and hidden, comes back.
void OutlineView::Private::noteExpanded(const QModelIndex& index) {
    rows.markChanged();
    if (isQuiet)
        return;
    memory.setExpanded(index, true);
    const QScopedValueRollback quiet(isQuiet, true);
    restoreExpansionBelow(index);
    restoreSelection();
}

void OutlineView::Private::noteCollapsed(const QModelIndex& index) {
    rows.markChanged();
    if (isQuiet)
        return;
    memory.setExpanded(index, false);
    const QModelIndex current = view.currentIndex();
    if (current.isValid() && rows.rowForIndex(current) < 0)
        view.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
}

}  // namespace platform
