// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridBookmark.h"

#include "platform/views/GridSelection.h"
#include "platform/views/ImageBrowserView.h"

#include <algorithm>
#include <unordered_map>

namespace platform {

namespace {

/// How many neighbours are noted to stand in for an item that goes.
constexpr std::size_t standInCount = 64;

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

GridBookmark::Serial GridBookmark::serialAt(std::size_t index, const ItemAt& itemAt) {
    const ImageBrowserItem* const item = itemAt(index);
    return item ? item->serialNumber() : 0;
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
        [&](std::size_t index) { bookmark._selected.push_back(serialAt(index, itemAt)); });
    if (selection.anchor())
        bookmark._anchor = serialAt(*selection.anchor(), itemAt);
    if (selection.current()) {
        bookmark._currents.push_back(serialAt(*selection.current(), itemAt));
        for (const std::size_t index : standIns(*selection.current(), selection))
            bookmark._currents.push_back(serialAt(index, itemAt));
    }
    if (!visible)
        return bookmark;
    bookmark._firstVisible = visible->first;
    for (std::size_t index = visible->first; index <= visible->last; ++index) {
        bookmark._visible.push_back(serialAt(index, itemAt));
        bookmark._tops.push_back({bookmark._visible.back(), rowTopOf(index)});
    }
    for (const std::size_t index : standIns(visible->last, selection))
        bookmark._tops.push_back({serialAt(index, itemAt), rowTopOf(visible->first)});
    return bookmark;
}

GridBookmark::Found GridBookmark::find(std::size_t count, const ItemAt& itemAt) const {
    // The few single items; nothing found yet.
    constexpr auto nowhere = static_cast<std::size_t>(-1);
    std::unordered_map<Serial, std::size_t> places{{_anchor, nowhere}};
    for (const Serial serial : _currents)
        places.emplace(serial, nowhere);
    for (const Noted& noted : _tops)
        places.emplace(noted.serial, nowhere);
    places.erase(0);

    // Of the selected ones most still follow one another as before; only where one does not is a table made.
    constexpr std::size_t lookAhead = 16;  // a few may have gone in between
    std::unordered_map<Serial, std::size_t> selectedBySerial;
    std::size_t nextSelected = 0;
    const auto isSelected = [&](Serial serial) {
        const std::size_t end = std::min(nextSelected + lookAhead, _selected.size());
        for (std::size_t i = nextSelected; i < end; ++i)
            if (_selected[i] == serial) {
                nextSelected = i + 1;
                return true;
            }
        if (selectedBySerial.empty())
            for (std::size_t i = 0; i < _selected.size(); ++i)
                selectedBySerial.emplace(_selected[i], i);
        const auto known = selectedBySerial.find(serial);
        if (known == selectedBySerial.end())
            return false;
        nextSelected = known->second + 1;
        return true;
    };

    Found found;
    std::size_t placesLeft = places.size();
    std::size_t selectedLeft = _selected.size();
    for (std::size_t index = 0; index < count && (placesLeft > 0 || selectedLeft > 0); ++index) {
        const Serial serial = serialAt(index, itemAt);
        if (serial == 0)
            continue;
        if (const auto place = places.find(serial); place != places.end()) {
            place->second = index;
            --placesLeft;
        }
        if (selectedLeft > 0 && isSelected(serial)) {
            found.selected.insert(index);
            --selectedLeft;
        }
    }
    const auto placeOf = [&](Serial serial) -> std::optional<std::size_t> {
        const auto place = places.find(serial);
        return place == places.end() || place->second == nowhere ? std::nullopt
                                                                 : std::optional(place->second);
    };
    for (const Serial serial : _currents)
        if (!found.current)
            found.current = placeOf(serial);
    for (const Noted& noted : _tops)
        if (!found.top) {
            found.top = placeOf(noted.serial);
            found.topY = noted.y;
        }
    found.anchor = placeOf(_anchor);
    return found;
}

bool GridBookmark::showedAt(std::size_t index, const ImageBrowserItem* item) const {
    return item && index >= _firstVisible && index - _firstVisible < _visible.size() &&
           _visible[index - _firstVisible] == item->serialNumber();
}

}  // namespace platform
