// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"

#include <cstddef>
#include <optional>

namespace platform {

/// What is selected in a grid, which item is current, and from where ranges are drawn: the rules, without a
/// widget. Kept as runs and changed by set algebra, so that "all of a million" costs one run, and thousands
/// of single picks stay quick (the toolkit's own selection model compares every run with every other at each
/// change). Each operation answers the indexes whose state it changed. Main thread only.
class GridSelection {
 public:
    enum class Mode {
        replace,      ///< this one alone; it becomes the anchor
        toggle,       ///< this one in or out; it becomes the anchor
        range,        ///< all from the anchor to this one, and nothing else
        addRange,     ///< all from the anchor to this one in addition
        moveCurrent,  ///< the current item moves, the selection stays
    };
    enum class BandMode { replace, add, toggle };

    /// A new list of this many items: nothing is selected or current.
    void reset(std::size_t count);
    std::size_t count() const { return _count; }

    const IndexSet& indexes() const { return _indexes; }
    std::optional<std::size_t> current() const { return _current; }
    std::optional<std::size_t> anchor() const { return _anchor; }
    void setCurrent(std::optional<std::size_t> index) { _current = index; }
    void setAnchor(std::optional<std::size_t> index) { _anchor = index; }

    IndexSet select(std::size_t index, Mode mode);
    IndexSet setIndexes(IndexSet indexes);
    IndexSet selectAll();
    IndexSet clear() { return setIndexes({}); }

    /// A rubber band is drawn: from now on each setBand() starts from what was selected at its beginning.
    IndexSet beginBand(BandMode mode);
    IndexSet setBand(const IndexSet& inBand);
    /// The band is given up: the selection is as it was before.
    IndexSet cancelBand();

 private:
    std::size_t _count = 0;
    IndexSet _indexes;
    std::optional<std::size_t> _current;
    std::optional<std::size_t> _anchor;
    BandMode _bandMode = BandMode::replace;
    IndexSet _beforeBand;
};

}  // namespace platform
