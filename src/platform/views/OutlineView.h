// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/TableColumn.h"

#include <QTreeView>

#include <memory>

namespace platform {

class OutlineModel;
class OutlineView;
class TextFieldCell;

/// What an outline shows in one row. The data source hands them out; the outline shares them for as long as
/// it shows them, and tells two apart by object, and across reloads by their parent, identity and ordinal
/// among equals.
class OutlineItem {
 public:
    virtual ~OutlineItem() = default;
    /// What makes this item the same one after a reload (its path).
    virtual QString outlineIdentity() const = 0;
};

using OutlineItemRef = std::shared_ptr<OutlineItem>;

/// Feeds an outline. A null item means the invisible root. The outline asks nothing before its first
/// reloadData().
class OutlineViewDataSource {
 public:
    virtual ~OutlineViewDataSource() = default;
    /// -1 for an item that can have no children.
    virtual int outlineViewNumberOfChildrenOfItem(OutlineView& outline, OutlineItem* item) = 0;
    virtual OutlineItemRef outlineViewChildOfItem(OutlineView& outline, int index, OutlineItem* item) = 0;
    virtual bool outlineViewIsItemExpandable(OutlineView& outline, OutlineItem* item) = 0;
    virtual QString outlineViewObjectValueForTableColumnByItem(OutlineView& outline, TableColumn& column,
                                                               OutlineItem* item) = 0;
};

/// Is told what happens in an outline.
class OutlineViewDelegate {
 public:
    virtual ~OutlineViewDelegate() = default;
    virtual bool outlineViewShouldEditTableColumnItem(OutlineView& outline, TableColumn& column,
                                                      OutlineItem* item) = 0;
    virtual void outlineViewWillDisplayCellForTableColumnItem(OutlineView& outline, TextFieldCell& cell,
                                                              TableColumn& column, OutlineItem* item) = 0;
    virtual void outlineViewSelectionDidChange(OutlineView& outline) = 0;
};

/// A tree of rows over a pull-style data source, one column. Main thread only; borrows its data source and
/// delegate.
class OutlineView : public QTreeView {
    Q_OBJECT

 public:
    explicit OutlineView(QWidget* parent = nullptr);
    ~OutlineView() override;

    void setDataSource(OutlineViewDataSource* dataSource);
    void setDelegate(OutlineViewDelegate* delegate);
    OutlineViewDelegate* delegate() const;

    /// The one column; the identifier is set once, when the view is built.
    TableColumn* tableColumnWithIdentifier(const QString& identifier) const;
    void setColumnIdentifier(const QString& identifier);
    /// The cell that draws each row of the column; taken over.
    void setDataCell(std::unique_ptr<TextFieldCell> cell);

    /// Asks the data source for fresh top-level items (see CONTRIBUTING.md, "Reloading the places").
    void reloadData();
    /// Asks again for the item's text and, with children, for all below it. An unknown item does nothing.
    void reloadItem(OutlineItem* item, bool reloadChildren);

    int numberOfRows() const;
    /// The row of the last selected item, -1 for none.
    int selectedRow() const;
    /// -1 when the outline does not show that very object.
    int rowForItem(const OutlineItem* item) const;
    /// Null when there is no such row.
    OutlineItem* itemAtRow(int row) const;

    void expandItem(OutlineItem* item);
    void collapseItem(OutlineItem* item);
    void selectRow(int row, bool byExtendingSelection);
    void deselectRow(int row);

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
