// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <cstddef>
#include <vector>

namespace platform {

/// A set of indexes of a list, kept as sorted, separate, non-empty runs, so that "all of a million" costs one
/// run.
class IndexSet {
 public:
    struct Range {
        std::size_t first = 0;
        std::size_t last = 0;  ///< inclusive
        bool operator==(const Range&) const = default;
    };

    IndexSet() = default;
    IndexSet(std::initializer_list<std::size_t> indexes);

    void insert(std::size_t index) { insertRange(index, index); }
    void insertRange(std::size_t first, std::size_t last);
    bool contains(std::size_t index) const;
    std::size_t count() const;
    bool isEmpty() const { return _ranges.empty(); }
    const std::vector<Range>& ranges() const { return _ranges; }

    /// The least and the greatest index; the set must not be empty.
    std::size_t firstIndex() const { return _ranges.front().first; }
    std::size_t lastIndex() const { return _ranges.back().last; }

    /// Calls `visit` with each index, ascending or descending.
    template <typename Visit>
    void forEach(Visit&& visit) const {
        for (const Range& range : _ranges)
            for (std::size_t i = range.first; i <= range.last; ++i)
                visit(i);
    }
    template <typename Visit>
    void forEachDescending(Visit&& visit) const {
        for (auto range = _ranges.rbegin(); range != _ranges.rend(); ++range)
            for (std::size_t i = range->last + 1; i-- > range->first;)
                visit(i);
    }

    /// "(0, 2-4)": for the log.
    QString description() const;

    bool operator==(const IndexSet&) const = default;

 private:
    std::vector<Range> _ranges;
};

}  // namespace platform
