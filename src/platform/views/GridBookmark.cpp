// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridBookmark.h"

#include "platform/Guard.h"
#include "platform/views/GridSelection.h"
#include "platform/views/ImageBrowserView.h"

#include <algorithm>
#include <unordered_map>

namespace platform {

namespace {

/// How many neighbours are noted to stand in for an item that goes.
constexpr std::size_t standInCount = 64;

QString uidOf(const ImageBrowserItem* item) {
    return item ? guarded("imageUID", QString(), [item] { return item->imageUID(); }) : QString();
}

/// The first indexes outside the selection from `start` on, upwards or downwards, jumping over its runs.
void appendUnselected(std::vector<std::size_t>& indexes, const GridSelection& selection, std::size_t start,
                      bool upwards) {
    const std::vector<IndexSet::Range>& runs = selection.indexes().ranges();
    std::size_t left = standInCount;
    std::size_t index = start;
    while (left > 0 && index < selection.count()) {
        const auto run =
            std::lower_bound(runs.begin(), runs.end(), index,
                             [](const IndexSet::Range& r, std::size_t at) { return r.last < at; });
        if (run != runs.end() && run->first <= index) {
            // Below 0 wraps round to a number beyond the count, which ends the walk.
            index = upwards ? run->last + 1 : run->first - 1;
            continue;
        }
        indexes.push_back(index);
        index = upwards ? index + 1 : index - 1;
        --left;
    }
}

}  // namespace

GridBookmark::Noted GridBookmark::noteItem(std::size_t index, const ItemAt& itemAt) {
    const ImageBrowserItem* const item = itemAt(index);
    return {item, uidOf(item), 0};
}

bool GridBookmark::isSame(const Noted& noted, const ImageBrowserItem* item) {
    return item && noted.object == item && noted.uid == uidOf(item);
}

std::vector<std::size_t> GridBookmark::standIns(std::size_t index, const GridSelection& selection) {
    std::vector<std::size_t> indexes;
    appendUnselected(indexes, selection, index + 1, true);
    if (index > 0)
        appendUnselected(indexes, selection, index - 1, false);
    return indexes;
}

GridBookmark GridBookmark::note(const GridSelection& selection, std::optional<IndexSet::Range> visible,
                                const std::function<int(std::size_t)>& rowTopOf, const ItemAt& itemAt) {
    GridBookmark bookmark;
    bookmark._selectedBefore = selection.indexes();
    bookmark._currentBefore = selection.current();
    bookmark._selected.reserve(selection.indexes().count());
    selection.indexes().forEach(
        [&](std::size_t index) { bookmark._selected.push_back(noteItem(index, itemAt)); });
    if (selection.anchor())
        bookmark._anchor = noteItem(*selection.anchor(), itemAt);
    if (selection.current()) {
        bookmark._currents.push_back(noteItem(*selection.current(), itemAt));
        for (const std::size_t index : standIns(*selection.current(), selection))
            bookmark._currents.push_back(noteItem(index, itemAt));
    }
    if (visible) {
        bookmark._firstVisible = visible->first;
        for (std::size_t index = visible->first; index <= visible->last; ++index) {
            Noted noted = noteItem(index, itemAt);
            noted.y = rowTopOf(index);
            bookmark._visible.push_back(noted);
        }
        bookmark._tops = bookmark._visible;
        for (const std::size_t index : standIns(visible->last, selection)) {
            Noted noted = noteItem(index, itemAt);
            noted.y = rowTopOf(visible->first);
            bookmark._tops.push_back(std::move(noted));
        }
    }
    return bookmark;
}

GridBookmark::Found GridBookmark::find(std::size_t count, const ItemAt& itemAt) const {
    // The few single items, by object; nothing found yet.
    constexpr auto nowhere = static_cast<std::size_t>(-1);
    std::unordered_map<const ImageBrowserItem*, std::size_t> places;
    for (const std::vector<Noted>* list : {&_currents, &_tops})
        for (const Noted& noted : *list)
            places.emplace(noted.object, nowhere);
    if (_anchor)
        places.emplace(_anchor->object, nowhere);
    places.erase(nullptr);

    // Of the selected ones most still follow one another as before; only where one does not is a table made.
    std::unordered_map<const ImageBrowserItem*, const Noted*> selectedByObject;
    std::size_t nextSelected = 0;
    std::size_t selectedLeft = _selected.size();
    const auto selectedItem = [&](const ImageBrowserItem* item) -> const Noted* {
        if (nextSelected < _selected.size() && _selected[nextSelected].object == item)
            return &_selected[nextSelected++];
        if (selectedByObject.empty()) {
            selectedByObject.reserve(_selected.size());
            for (const Noted& noted : _selected)
                selectedByObject.emplace(noted.object, &noted);
        }
        const auto known = selectedByObject.find(item);
        if (known == selectedByObject.end())
            return nullptr;
        nextSelected = std::size_t(known->second - _selected.data()) + 1;
        return known->second;
    };

    Found found;
    std::size_t placesLeft = places.size();
    for (std::size_t index = 0; index < count && (placesLeft > 0 || selectedLeft > 0); ++index) {
        const ImageBrowserItem* const item = itemAt(index);
        if (!item)
            continue;
        if (const auto place = places.find(item); place != places.end() && place->second == nowhere) {
            place->second = index;
            --placesLeft;
        }
        if (selectedLeft == 0)
            continue;
        if (const Noted* noted = selectedItem(item)) {
            --selectedLeft;
            if (isSame(*noted, item))
                found.selected.insert(index);
        }
    }
    const auto placeOf = [&](const Noted& noted) -> std::optional<std::size_t> {
        const auto place = places.find(noted.object);
        if (place == places.end() || place->second == nowhere || !isSame(noted, itemAt(place->second)))
            return std::nullopt;
        return place->second;
    };
    for (const Noted& noted : _currents)
        if (!found.current)
            found.current = placeOf(noted);
    for (const Noted& noted : _tops)
        if (!found.top) {
            found.top = placeOf(noted);
            found.topY = noted.y;
        }
    if (_anchor)
        found.anchor = placeOf(*_anchor);
    return found;
}

bool GridBookmark::showedAt(std::size_t index, const ImageBrowserItem* item) const {
    return index >= _firstVisible && index - _firstVisible < _visible.size() &&
           isSame(_visible[index - _firstVisible], item);
}

}  // namespace platform
