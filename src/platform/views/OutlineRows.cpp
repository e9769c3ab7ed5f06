// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/OutlineRows.h"

#include <QTreeView>

namespace platform {

int OutlineRows::count() const {
    countIfChanged();
    return static_cast<int>(_indexes.size());
}

int OutlineRows::rowForIndex(const QModelIndex& index) const {
    countIfChanged();
    return _rows.value(index, -1);
}

QModelIndex OutlineRows::indexAtRow(int row) const {
    return row >= 0 && row < count() ? _indexes[static_cast<std::size_t>(row)] : QModelIndex();
}

void OutlineRows::countIfChanged() const {
    if (_isCounted)
        return;
    _isCounted = true;
    _indexes.clear();
    _rows.clear();
    appendBelow({});
}

void OutlineRows::appendBelow(const QModelIndex& parent) const {
    const QAbstractItemModel& model = *_view.model();
    for (int i = 0, count = model.rowCount(parent); i < count; ++i) {
        const QModelIndex index = model.index(i, 0, parent);
        _rows.insert(index, static_cast<int>(_indexes.size()));
        _indexes.push_back(index);
        if (_view.isExpanded(index))
            appendBelow(index);
    }
}

}  // namespace platform
