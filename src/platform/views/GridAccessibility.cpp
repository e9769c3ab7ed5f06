// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridAccessibility.h"

#include "platform/views/ImageBrowserViewPrivate.h"

#include <QLocale>
#include <QWindow>

namespace platform {

namespace {

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
    if (className != QLatin1String(ImageBrowserView::staticMetaObject.className()))
        return nullptr;
    auto* const view = qobject_cast<ImageBrowserView*>(object);
    return view ? new GridAccessible(*view) : nullptr;
}

}  // namespace

void GridAccessible::install() {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
}

GridAccessible::GridAccessible(ImageBrowserView& view) : QAccessibleWidget(&view, QAccessible::List) {
}

GridAccessible::~GridAccessible() {
    for (const auto& [index, id] : _cells)
        QAccessible::deleteAccessibleInterface(id);
}

ImageBrowserView* GridAccessible::view() const {
    return qobject_cast<ImageBrowserView*>(widget());
}

int GridAccessible::childIndexOf(const ImageBrowserView& view, std::size_t index) {
    const std::optional<IndexSet::Range> visible = view._d->visibleRange();
    return visible && visible->first <= index && index <= visible->last ? int(index - visible->first) : -1;
}

void GridAccessible::forgetHidden() const {
    const std::optional<IndexSet::Range> visible = view()->_d->visibleRange();
    std::erase_if(_cells, [&](const auto& cell) {
        if (visible && visible->first <= cell.first && cell.first <= visible->last)
            return false;
        QAccessible::deleteAccessibleInterface(cell.second);
        return true;
    });
}

int GridAccessible::childCount() const {
    const std::optional<IndexSet::Range> visible = view()->_d->visibleRange();
    return visible ? int(visible->last - visible->first + 1) : 0;
}

QAccessibleInterface* GridAccessible::child(int index) const {
    if (index < 0 || index >= childCount())
        return nullptr;
    forgetHidden();
    const std::size_t at = view()->_d->visibleRange()->first + std::size_t(index);
    const auto known = _cells.find(at);
    if (known != _cells.end())
        return QAccessible::accessibleInterface(known->second);
    auto* const cell = new GridCellAccessible(*view(), at);
    _cells[at] = QAccessible::registerAccessibleInterface(cell);
    return cell;
}

QAccessibleInterface* GridAccessible::childAt(int x, int y) const {
    const auto index = view()->_d->indexAtPoint(view()->viewport()->mapFromGlobal(QPoint(x, y)));
    return index ? child(childIndexOf(*view(), *index)) : nullptr;
}

QAccessibleInterface* GridAccessible::focusChild() const {
    const std::optional<std::size_t> current = view()->_d->selection.current();
    return current && view()->hasFocus() ? child(childIndexOf(*view(), *current)) : nullptr;
}

int GridAccessible::indexOfChild(const QAccessibleInterface* child) const {
    const auto* const cell = dynamic_cast<const GridCellAccessible*>(child);
    return cell ? childIndexOf(*view(), cell->index()) : -1;
}

QAccessible::State GridAccessible::state() const {
    QAccessible::State state = QAccessibleWidget::state();
    state.multiSelectable = true;
    state.extSelectable = true;
    return state;
}

bool GridCellAccessible::isValid() const {
    return _view && _index < _view->_d->model.count();
}

QWindow* GridCellAccessible::window() const {
    return _view ? _view->window()->windowHandle() : nullptr;
}

QAccessibleInterface* GridCellAccessible::parent() const {
    return _view ? QAccessible::queryAccessibleInterface(_view) : nullptr;
}

QString GridCellAccessible::text(QAccessible::Text kind) const {
    if (!isValid())
        return {};
    const QLocale locale = _view->locale();
    switch (kind) {
        case QAccessible::Name:
            return _view->_d->model.title(_index);
        case QAccessible::Description:
            return _view->_d->positionText.arg(locale.toString(qulonglong{_index} + 1),
                                               locale.toString(qulonglong{_view->_d->model.count()}));
        default:
            return {};
    }
}

QRect GridCellAccessible::rect() const {
    if (!isValid())
        return {};
    const QRect cell = _view->_d->cellRect(_index);
    return {_view->viewport()->mapToGlobal(cell.topLeft()), cell.size()};
}

QAccessible::State GridCellAccessible::state() const {
    QAccessible::State state;
    if (!isValid()) {
        state.invalid = true;
        return state;
    }
    const bool isCurrent = _view->_d->selection.current() == _index;
    state.selectable = true;
    state.multiSelectable = true;
    state.focusable = true;
    state.selected = _view->_d->selection.indexes().contains(_index);
    state.active = isCurrent;
    state.focused = isCurrent && _view->hasFocus();
    state.offscreen = !_view->viewport()->rect().intersects(_view->_d->cellRect(_index));
    state.invisible = !_view->isVisible();
    return state;
}

void* GridCellAccessible::interface_cast(QAccessible::InterfaceType type) {
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
}

QStringList GridCellAccessible::actionNames() const {
    return {pressAction(), setFocusAction(), toggleAction()};
}

void GridCellAccessible::doAction(const QString& name) {
    if (!isValid())
        return;
    ImageBrowserView::Private& d = *_view->_d;
    if (name == pressAction())
        d.open(_index);
    else if (name == setFocusAction())
        d.act(_index, GridSelection::Mode::replace);
    else if (name == toggleAction())
        d.act(_index, GridSelection::Mode::toggle);
}

}  // namespace platform
