// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

#include <functional>

namespace platform {

class TextFieldCell;

/// Draws the rows of an outline through one cell: the style draws the background and the focus, the cell what
/// lies between. All rows have one height.
class OutlineItemDelegate : public QStyledItemDelegate {
    Q_OBJECT

 public:
    /// `filledCell` answers the cell, filled with what the row of the index shows.
    using FilledCell = std::function<TextFieldCell&(const QModelIndex& index)>;

    OutlineItemDelegate(FilledCell filledCell, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// The tool tip is the row's text where the row is too narrow for it.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

 private:
    FilledCell _filledCell;
};

}  // namespace platform
