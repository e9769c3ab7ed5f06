// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/OutlineMemory.h"

namespace platform {

void OutlineMemory::setExpanded(const QModelIndex& index, bool isExpanded) {
    if (isExpanded)
        _expanded.insert(_model.placeForIndex(index));
    else
        _expanded.remove(_model.placeForIndex(index));
}

bool OutlineMemory::isExpanded(const QModelIndex& index) const {
    return !_expanded.isEmpty() && _expanded.contains(_model.placeForIndex(index));
}

void OutlineMemory::noteSelectionChange(const QItemSelection& selected, const QItemSelection& deselected) {
    std::erase_if(_selection, [&](const Selected& item) {
        return item.index.isValid() && deselected.contains(item.index);
    });
    for (const QModelIndex& index : selected.indexes())
        _selection.push_back({_model.placeForIndex(index), index});
}

QModelIndexList OutlineMemory::takeNewlyFound() {
    QModelIndexList found;
    for (Selected& item : _selection) {
        if (item.index.isValid())
            continue;
        item.index = _model.indexForPlace(item.place);
        if (item.index.isValid())
            found.append(item.index);
    }
    return found;
}

bool OutlineMemory::forgetRowless(const QModelIndex& index) {
    const OutlinePlace place = _model.placeForIndex(index);
    return std::erase_if(_selection, [&](const Selected& item) {
               return !item.index.isValid() && item.place.mid(0, place.size()) == place;
           }) > 0;
}

void OutlineMemory::forgetGonePlaces() {
    const auto isGone = [&](const OutlinePlace& place) {
        return !_model.indexForPlace({place.first()}).isValid();
    };
    _expanded.removeIf(isGone);
    std::erase_if(_selection, [&](const Selected& item) { return isGone(item.place); });
}

}  // namespace platform
