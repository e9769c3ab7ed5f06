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
/// delegate. Children are asked for when their parent is expanded, and whether a row can have any when it is
/// drawn. Rows are numbered from the top through all that is expanded. Texts show as displayablePath()
/// answers them.
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

    /// Asks the data source for fresh top-level items. Until the handler that asked for this has returned to
    /// the event loop, the rows are those of the collapsed top level; then what was expanded is expanded
    /// again and what is still there of the selection is selected. A reload alone never tells the delegate of
    /// a selection change. Called from within an answer to the outline it is put off until that is through.
    void reloadData();
    /// Asks again for the item's text and, with children, for all below it. An unknown item does nothing.
    void reloadItem(OutlineItem* item, bool reloadChildren);

    int numberOfRows() const;
    /// The row of the last selected item that has one, -1 for none. Until a reload is through, an item that
    /// was selected further down has its top-level item's row.
    int selectedRow() const;
    /// -1 when the outline does not show that very object.
    int rowForItem(const OutlineItem* item) const;
    /// Null when there is no such row.
    OutlineItem* itemAtRow(int row) const;

    /// An unknown item, or one that cannot have children, does nothing.
    void expandItem(OutlineItem* item);
    void collapseItem(OutlineItem* item);
    /// Brings the row into view, too. A row that is not there does nothing.
    void selectRow(int row, bool byExtendingSelection);
    void deselectRow(int row);
    /// Scrolls so that a row stands amid its neighbours.
    void scrollRowToMiddle(int row);

 protected:
    void drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const override;
    void initViewItemOption(QStyleOptionViewItem* option) const override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    bool viewportEvent(QEvent* event) override;

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
