// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QModelIndex>

#include <vector>

class QTreeView;

namespace platform {

/// The rows of a tree as a person counts them, from the top through all that is expanded. Counted at the
/// first question after a change, so that a walk through all rows does not count each time. Main thread only;
/// borrows the view, which has its model already.
class OutlineRows {
 public:
    explicit OutlineRows(const QTreeView& view) : _view(view) {}

    void markChanged() { _isCounted = false; }
    int count() const;
    /// -1 for an index that has no row: invalid, or in a collapsed branch.
    int rowForIndex(const QModelIndex& index) const;
    QModelIndex indexAtRow(int row) const;

 private:
    void countIfChanged() const;
    void appendBelow(const QModelIndex& parent) const;

    const QTreeView& _view;
    mutable std::vector<QModelIndex> _indexes;
    mutable QHash<QModelIndex, int> _rows;
    mutable bool _isCounted = false;
};

}  // namespace platform
