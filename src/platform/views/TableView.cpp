// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/TableView.h"

#include "platform/Guard.h"
#include "platform/PathBytes.h"
#include "platform/views/PaneFocus.h"
#include "platform/views/ToolTipText.h"
#include "platform/views/ViewColumn.h"

#include <QAbstractListModel>
#include <QContextMenuEvent>
#include <QDragMoveEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QPainter>
#include <QScopedValueRollback>

#include <algorithm>
#include <optional>

namespace platform {

namespace {

/// The rows' number, and their texts as they were last shown.
class TableModel : public QAbstractListModel {
 public:
    TableModel(TableView& table, QObject* parent) : QAbstractListModel(parent), _table(table) {}

    void setDataSource(TableViewDataSource* dataSource) { _dataSource = dataSource; }
    void setColumn(TableColumn* column) { _column = column; }

    void reload() {
        beginResetModel();
        const int rows = _dataSource ? guarded("table: number of rows", 0,
                                               [&] { return _dataSource->numberOfRowsInTableView(_table); })
                                     : 0;
        _texts.assign(static_cast<std::size_t>(std::max(rows, 0)), std::nullopt);
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(_texts.size());
    }

    QVariant data(const QModelIndex& index, int role) const override {
        if (!index.isValid() || !_dataSource)
            return {};
        if (role == Qt::ToolTipRole)
            return toolTip(index.row());
        return role == Qt::DisplayRole ? text(index.row()) : QVariant();
    }

    /// Null where no text was shown yet. Asks nothing: the list may have changed since.
    QString shownText(int row) const {
        return row < 0 ? QString() : _texts[static_cast<std::size_t>(row)].value_or(QString());
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (section != 0 || orientation != Qt::Horizontal)
            return {};
        if (role == Qt::TextAlignmentRole)
            return static_cast<int>(Qt::AlignLeading | Qt::AlignVCenter);
        return role == Qt::DisplayRole ? _column->headerTitle() : QVariant();
    }

 private:
    /// A data source that answers nothing yet is asked again the next time.
    QVariant text(int row) const {
        std::optional<QString>& known = _texts[static_cast<std::size_t>(row)];
        if (!known) {
            const QString answer = guarded("table: object value", QString(), [&] {
                return _dataSource->tableViewObjectValueForTableColumnRow(_table, *_column, row);
            });
            if (answer.isNull())
                return {};
            known = displayablePath(answer);
        }
        return *known;
    }

    QVariant toolTip(int row) const {
        const QString answer = guarded("table: tool tip", QString(),
                                       [&] { return _dataSource->tableViewToolTipForRow(_table, row); });
        return answer.isNull() ? QVariant() : toolTipText(answer);
    }

    TableView& _table;
    TableViewDataSource* _dataSource = nullptr;
    TableColumn* _column = nullptr;
    mutable std::vector<std::optional<QString>> _texts;
};

/// Where a drop would go: on the row under the pointer, or above the row that is not there.
struct DropTarget {
    int row = -1;
    DropOperation operation = DropOperation::on;
};

}  // namespace

QString TableViewDataSource::tableViewToolTipForRow(TableView&, int) {
    return {};
}

struct TableView::Private {
    explicit Private(TableView& table) : view(table), model(new TableModel(table, &table)) {}

    DropTarget targetAt(QPoint point) const;
    bool validate(const DropTarget& target) const;
    void showTarget(int row);
    void drag(QDragMoveEvent& event);
    void runDoubleAction() const;

    TableView& view;
    TableModel* model;
    std::unique_ptr<TableColumn> column;
    TableViewDataSource* dataSource = nullptr;
    std::function<void()> doubleAction;
    int dropRow = -1;  ///< drawn as the target of a drag
    bool isQuiet = false;
};

TableView::TableView(QWidget* parent) : QTableView(parent), _d(std::make_unique<Private>(*this)) {
    setColumnIdentifier(QString());
    setModel(_d->model);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setDragEnabled(true);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(verticalHeader()->minimumSectionSize());
}

TableView::~TableView() = default;

void TableView::setDataSource(TableViewDataSource* dataSource) {
    _d->dataSource = dataSource;
    _d->model->setDataSource(dataSource);
}

TableColumn* TableView::tableColumnWithIdentifier(const QString& identifier) const {
    return _d->column->identifier() == identifier ? _d->column.get() : nullptr;
}

void TableView::setColumnIdentifier(const QString& identifier) {
    _d->column = std::make_unique<ViewColumn>(identifier, [this] {
        setAccessibleName(_d->column->headerTitle());
        Q_EMIT _d->model->headerDataChanged(Qt::Horizontal, 0, 0);
    });
    _d->model->setColumn(_d->column.get());
}

void TableView::reloadData() {
    const QScopedValueRollback quiet(_d->isQuiet, true);
    const QString text = _d->model->shownText(selectedRow());
    _d->model->reload();
    for (int row = 0; !text.isNull() && row < numberOfRows(); ++row) {
        if (_d->model->index(row).data().toString() == text) {
            setCurrentIndex(_d->model->index(row));
            break;
        }
    }
}

int TableView::numberOfRows() const {
    return _d->model->rowCount();
}

int TableView::selectedRow() const {
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void TableView::setDoubleAction(std::function<void()> action) {
    _d->doubleAction = std::move(action);
}

void TableView::registerForDraggedFileNames() {
    setAcceptDrops(true);
}

void TableView::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() == QContextMenuEvent::Keyboard) {
        const QRect rect = visualRect(currentIndex());
        Q_EMIT contextMenuAsked(selectedRow(), viewport()->mapToGlobal(rect.center()));
    } else {
        Q_EMIT contextMenuAsked(rowAt(event->pos().y()), event->globalPos());
    }
    event->accept();
}

void TableView::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls())
        event->accept();
    else
        event->ignore();
}

void TableView::dragLeaveEvent(QDragLeaveEvent*) {
    _d->showTarget(-1);
}

void TableView::dragMoveEvent(QDragMoveEvent* event) {
    if (!event->mimeData()->hasUrls()) {
        event->ignore();
        return;
    }
    _d->drag(*event);
    const int y = event->position().toPoint().y();
    if (y < autoScrollMargin() || y > viewport()->height() - autoScrollMargin())
        startAutoScroll();
}

void TableView::dropEvent(QDropEvent* event) {
    stopAutoScroll();
    _d->showTarget(-1);
    const DropTarget target = _d->targetAt(event->position().toPoint());
    if (!event->mimeData()->hasUrls() || !_d->validate(target)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    const auto acceptDrop = [this, target] {
        if (_d->dataSource && target.row < numberOfRows())
            guarded("table: accept drop", [&] {
                _d->dataSource->tableViewAcceptDropRowDropOperation(*this, target.row, target.operation);
            });
    };
    QMetaObject::invokeMethod(this, acceptDrop, Qt::QueuedConnection);
}

/// Reached by the keyboard it has a row selected, for the eye to see and for Return to act on.
void TableView::focusInEvent(QFocusEvent* event) {
    QTableView::focusInEvent(event);
    const bool isByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    if (isByKey && selectedRow() < 0 && currentIndex().isValid())
        selectRow(currentIndex().row());
}

void TableView::initViewItemOption(QStyleOptionViewItem* option) const {
    QTableView::initViewItemOption(option);
    if (!hasFocus())
        option->palette = withoutFocus(option->palette);
}

void TableView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        _d->runDoubleAction();
    else
        QTableView::keyPressEvent(event);
}

void TableView::mousePressEvent(QMouseEvent* event) {
    QTableView::mousePressEvent(event);
    // What is pressed beside the rows is no row: the toolkit alone would keep the last one selected.
    if (rowAt(qRound(event->position().y())) < 0)
        clearSelection();
}

void TableView::mouseDoubleClickEvent(QMouseEvent* event) {
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton)
        _d->runDoubleAction();
}

void TableView::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    if (_d->dropRow < 0)
        return;
    QPainter painter(viewport());
    QStyleOption option;
    option.initFrom(this);
    option.rect = visualRect(_d->model->index(_d->dropRow));
    style()->drawPrimitive(QStyle::PE_IndicatorItemViewItemDrop, &option, &painter, this);
}

void TableView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
    QTableView::selectionChanged(selected, deselected);
    if (!_d->isQuiet && _d->dataSource)
        guarded("table: selection did change", [&] { _d->dataSource->tableViewSelectionDidChange(*this); });
}

void TableView::startDrag(Qt::DropActions) {
    if (_d->dataSource)
        guarded("table: write rows", false,
                [&] { return _d->dataSource->tableViewWriteRowsToPasteboard(*this); });
}

DropTarget TableView::Private::targetAt(QPoint point) const {
    const int row = view.rowAt(point.y());
    return row >= 0 ? DropTarget{row, DropOperation::on}
                    : DropTarget{view.numberOfRows(), DropOperation::above};
}

bool TableView::Private::validate(const DropTarget& target) const {
    return dataSource && guarded("table: validate drop", DragOperation::none, [&] {
                             return dataSource->tableViewValidateDropProposedRowProposedDropOperation(
                                 view, target.row, target.operation);
                         }) != DragOperation::none;
}

void TableView::Private::showTarget(int row) {
    if (row == dropRow)
        return;
    dropRow = row;
    view.viewport()->update();
}

void TableView::Private::drag(QDragMoveEvent& event) {
    const DropTarget target = targetAt(event.position().toPoint());
    if (validate(target)) {
        showTarget(target.operation == DropOperation::on ? target.row : -1);
        event.setDropAction(Qt::CopyAction);
        event.accept();
    } else {
        showTarget(-1);
        event.ignore();
    }
}

void TableView::Private::runDoubleAction() const {
    if (doubleAction)
        guarded("table: double action", doubleAction);
}

}  // namespace platform
