// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/OutlineItemDelegate.h"

#include "platform/views/TextFieldCell.h"
#include "platform/views/ToolTipText.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace platform {

namespace {

constexpr int leastRowHeight = 20;
/// What an icon cell takes off the row's height for its text.
constexpr int verticalMargins = 4;

void drawFocus(QPainter& painter, const QStyleOptionViewItem& option, const QStyle& style) {
    QStyleOptionFocusRect focus;
    focus.QStyleOption::operator=(option);
    focus.state |= QStyle::State_KeyboardFocusChange | QStyle::State_Item;
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    focus.backgroundColor = option.palette.color(isSelected ? QPalette::Highlight : QPalette::Base);
    style.drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, option.widget);
}

}  // namespace

OutlineItemDelegate::OutlineItemDelegate(FilledCell filledCell, QObject* parent)
    : QStyledItemDelegate(parent), _filledCell(std::move(filledCell)) {
}

void OutlineItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
    QStyleOptionViewItem row = option;
    const bool isEnabled = row.state.testFlag(QStyle::State_Enabled);
    const bool isActive = row.state.testFlag(QStyle::State_Active);
    row.palette.setCurrentColorGroup(!isEnabled ? QPalette::Disabled
                                     : isActive ? QPalette::Active
                                                : QPalette::Inactive);
    const QStyle& style = *(row.widget ? row.widget->style() : QApplication::style());
    style.drawPrimitive(QStyle::PE_PanelItemViewItem, &row, painter, row.widget);

    CellContext context;
    context.palette = row.palette;
    context.isSelected = row.state.testFlag(QStyle::State_Selected);
    context.isEnabled = isEnabled;
    context.direction = row.direction;
    painter->save();
    painter->setClipRect(row.rect, Qt::IntersectClip);
    _filledCell(index).drawWithFrameInView(row.rect, *painter, context);
    painter->restore();

    if (row.state.testFlag(QStyle::State_HasFocus))
        drawFocus(*painter, row, style);
}

QSize OutlineItemDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const {
    const QSize text = _filledCell(index).cellSize().toSize();
    return {text.width(), std::max(leastRowHeight, text.height() + verticalMargins)};
}

bool OutlineItemDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                    const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() != QEvent::ToolTip || !index.isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const TextFieldCell& cell = _filledCell(index);
    const bool fits = cell.cellSize().width() <= option.rect.width();
    QToolTip::showText(event->globalPos(), fits ? QString() : toolTipText(cell.title()), view, option.rect);
    return true;
}

}  // namespace platform
