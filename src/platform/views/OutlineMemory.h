// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/OutlineModel.h"

#include <QItemSelection>
#include <QPersistentModelIndex>
#include <QSet>

#include <vector>

namespace platform {

/// What the user has expanded and selected in an outline, by place, so that it outlasts the rows: those of a
/// reload, of a collapsed branch, and of a folder that answers late. Main thread only; borrows the model.
class OutlineMemory {
 public:
    /// One selected item; the index is invalid while it has no row in the model.
    struct Selected {
        OutlinePlace place;
        QPersistentModelIndex index;
    };

    explicit OutlineMemory(const OutlineModel& model) : _model(model) {}

    void setExpanded(const QModelIndex& index, bool isExpanded);
    bool isExpanded(const QModelIndex& index) const;

    /// In the order of their selection.
    const std::vector<Selected>& selection() const { return _selection; }
    void noteSelectionChange(const QItemSelection& selected, const QItemSelection& deselected);
    /// The items selected that were without a row and have one now.
    QModelIndexList takeNewlyFound();
    /// Forgets the selected items without a row, those at or below `index` or all. True when there were any.
    bool forgetRowless(const QModelIndex& index = {});

    /// Forgets everything in places whose top-level item is gone.
    void forgetGonePlaces();

 private:
    const OutlineModel& _model;
    QSet<OutlinePlace> _expanded;
    std::vector<Selected> _selection;
};

}  // namespace platform
