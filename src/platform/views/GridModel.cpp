// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridModel.h"

#include "platform/Guard.h"
#include "platform/PathBytes.h"

#include <algorithm>
#include <limits>

namespace platform {

GridModel::GridModel(ImageBrowserView& view, QObject* parent) : QAbstractListModel(parent), _view(view) {
}

void GridModel::setDataSource(ImageBrowserViewDataSource* dataSource) {
    beginResetModel();
    _dataSource = dataSource;
    _count = 0;
    endResetModel();
}

void GridModel::reload() {
    beginResetModel();
    const std::size_t count = guarded("numberOfItemsInImageBrowser", std::size_t{0}, [this] {
        return _dataSource ? _dataSource->numberOfItemsInImageBrowser(_view) : 0;
    });
    _count = std::min<std::size_t>(count, std::numeric_limits<int>::max());
    endResetModel();
}

ImageBrowserItem* GridModel::item(std::size_t index) const {
    if (!_dataSource || index >= _count)
        return nullptr;
    return guarded("imageBrowserItemAtIndex", static_cast<ImageBrowserItem*>(nullptr),
                   [&] { return _dataSource->imageBrowserItemAtIndex(_view, index); });
}

QString GridModel::title(std::size_t index) const {
    const ImageBrowserItem* const it = item(index);
    return it ? displayablePath(guarded("imageTitle", QString(), [it] { return it->imageTitle(); }))
              : QString();
}

QString GridModel::path(std::size_t index) const {
    const ImageBrowserItem* const it = item(index);
    return it ? guarded("imageRepresentation", QString(), [it] { return it->imageRepresentation(); })
              : QString();
}

int GridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(_count);
}

QVariant GridModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::AccessibleTextRole))
        return {};
    return title(std::size_t(index.row()));
}

Qt::ItemFlags GridModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
}

}  // namespace platform
