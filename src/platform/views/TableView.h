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
    /// Whether rows may be dragged out.
    virtual bool tableViewWriteRowsToPasteboard(TableView& table) = 0;
    virtual void tableViewSelectionDidChange(TableView& table) = 0;
};

/// Rows of one text column over a pull-style data source. Main thread only; borrows its data source.
class TableView : public QTableView {
    Q_OBJECT

 public:
    explicit TableView(QWidget* parent = nullptr);
    ~TableView() override;

    void setDataSource(TableViewDataSource* dataSource);
    TableColumn* tableColumnWithIdentifier(const QString& identifier) const;
    void setColumnIdentifier(const QString& identifier);

    void reloadData();
    /// -1 for none.
    int selectedRow() const;
    /// Runs at a double-click anywhere in the table, and at Return; selectedRow() tells where.
    void setDoubleAction(std::function<void()> action);
    /// From now on drags of files (URI lists) are asked about.
    void registerForDraggedFileNames();

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
