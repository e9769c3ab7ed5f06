// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace platform {

class GridSelection;
class ImageBrowserItem;

/// What a grid notes of its list before that changes, and finds again in the changed one: what was selected,
/// current, the anchor, and what stood at the top. Items are told by their serial numbers. The cost of noting
/// goes with what is selected and visible, that of finding with the list. A value.
class GridBookmark {
 public:
    using ItemAt = std::function<ImageBrowserItem*(std::size_t index)>;

    struct Found {
        IndexSet selected;
        std::optional<std::size_t> current;
        std::optional<std::size_t> anchor;
        /// The first item of before's visible ones, or of those near them, that is still there, and where in
        /// the viewport its row's top stood.
        std::optional<std::size_t> top;
        int topY = 0;
    };

    /// `rowTopOf`: where in the viewport the row of an index stands.
    static GridBookmark note(const GridSelection& selection, std::optional<IndexSet::Range> visible,
                             const std::function<int(std::size_t)>& rowTopOf, const ItemAt& itemAt);
    Found find(std::size_t count, const ItemAt& itemAt) const;

    /// Whether that cell was visible and showed this item.
    bool showedAt(std::size_t index, const ImageBrowserItem* item) const;
    const IndexSet& selectedBefore() const { return _selectedBefore; }
    std::optional<std::size_t> currentBefore() const { return _currentBefore; }

 private:
    using Serial = std::uint64_t;  ///< 0 for no item
    struct Noted {
        Serial serial = 0;
        int y = 0;
    };
    static Serial serialAt(std::size_t index, const ItemAt& itemAt);
    static std::vector<std::size_t> standIns(std::size_t index, const GridSelection& selection);

    IndexSet _selectedBefore;
    std::optional<std::size_t> _currentBefore;
    std::vector<Serial> _selected;
    Serial _anchor = 0;
    std::vector<Serial> _currents;  ///< the current item, then those to take its place, best first
    std::vector<Noted> _tops;       ///< likewise for the top
    std::size_t _firstVisible = 0;
    std::vector<Serial> _visible;
};

}  // namespace platform
