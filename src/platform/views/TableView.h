// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/TableColumn.h"

#include <QTableView>

#include <functional>
#include <memory>

namespace platform {

class TableView;

enum class DropOperation : int { on = 0, above = 1 };
enum class DragOperation : int { none = 0, copy = 1, generic = 4 };

/// Feeds a table; asked nothing before the first reloadData().
class TableViewDataSource {
 public:
    virtual ~TableViewDataSource() = default;
    virtual int numberOfRowsInTableView(TableView& table) = 0;
    /// A null string for nothing.
    virtual QString tableViewObjectValueForTableColumnRow(TableView& table, TableColumn& column, int row) = 0;
    virtual DragOperation tableViewValidateDropProposedRowProposedDropOperation(TableView& table, int row,
                                                                                DropOperation operation) = 0;
    /// Called after the drop has finished, so that the dragging program is not held.
    virtual bool tableViewAcceptDropRowDropOperation(TableView& table, int row, DropOperation operation) = 0;
    /// Whether rows may be dragged out: asked when the user tries. There is no pasteboard to write to, so
    /// that nothing is dragged either way.
    virtual bool tableViewWriteRowsToPasteboard(TableView& table) = 0;
    virtual void tableViewSelectionDidChange(TableView& table) = 0;
    /// What a row's tool tip says; a null string for nothing.
    virtual QString tableViewToolTipForRow(TableView& table, int row);
};

/// Rows of one text column over a pull-style data source, read-only, at most one selected. Main thread only;
/// borrows its data source. Texts show as displayablePath() answers them.
class TableView : public QTableView {
    Q_OBJECT

 public:
    explicit TableView(QWidget* parent = nullptr);
    ~TableView() override;

    void setDataSource(TableViewDataSource* dataSource);
    TableColumn* tableColumnWithIdentifier(const QString& identifier) const;
    void setColumnIdentifier(const QString& identifier);

    /// Asks for the number of rows, and for the texts as they are needed. The row with the selected row's
    /// text stays selected.
    void reloadData();
    int numberOfRows() const;
    /// -1 for none.
    int selectedRow() const;
    /// Runs at a double-click anywhere in the table, and at Return; selectedRow() tells where.
    void setDoubleAction(std::function<void()> action);
    /// From now on drags of files (URI lists) are asked about. Whatever the dragging program offers, the
    /// answer to it is Copy.
    void registerForDraggedFileNames();

 Q_SIGNALS:
    /// A context menu is asked for; the row is -1 beside the rows, the position global.
    void contextMenuAsked(int row, QPoint globalPosition);

 protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void initViewItemOption(QStyleOptionViewItem* option) const override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void startDrag(Qt::DropActions supportedActions) override;

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
