// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/IndexSetAlgebra.h"

#include <algorithm>

namespace platform {

namespace {

/// The borders of a set's runs, ascending: in at even positions, out (one past the end) at odd ones.
std::vector<std::size_t> bordersOf(const IndexSet& set) {
    std::vector<std::size_t> borders;
    borders.reserve(set.ranges().size() * 2);
    for (const IndexSet::Range& range : set.ranges()) {
        borders.push_back(range.first);
        borders.push_back(range.last + 1);
    }
    return borders;
}

/// Sweeps both sets' borders once and keeps the stretches where `keep(isInA, isInB)`.
template <typename Keep>
IndexSet sweep(const IndexSet& a, const IndexSet& b, Keep keep) {
    const std::vector<std::size_t> bordersA = bordersOf(a);
    const std::vector<std::size_t> bordersB = bordersOf(b);
    IndexSet result;
    std::size_t nextA = 0;
    std::size_t nextB = 0;
    std::size_t start = 0;
    bool isKeeping = false;
    while (nextA < bordersA.size() || nextB < bordersB.size()) {
        const bool takeA =
            nextB == bordersB.size() || (nextA < bordersA.size() && bordersA[nextA] <= bordersB[nextB]);
        const std::size_t border = takeA ? bordersA[nextA] : bordersB[nextB];
        if (nextA < bordersA.size() && bordersA[nextA] == border)
            ++nextA;
        if (nextB < bordersB.size() && bordersB[nextB] == border)
            ++nextB;
        const bool keepsOn = keep(nextA % 2 == 1, nextB % 2 == 1);
        if (isKeeping && !keepsOn)
            result.insertRange(start, border - 1);
        if (!isKeeping && keepsOn)
            start = border;
        isKeeping = keepsOn;
    }
    return result;
}

}  // namespace

IndexSet unionOf(const IndexSet& a, const IndexSet& b) {
    return sweep(a, b, [](bool inA, bool inB) { return inA || inB; });
}

IndexSet differenceOf(const IndexSet& a, const IndexSet& b) {
    return sweep(a, b, [](bool inA, bool inB) { return inA && !inB; });
}

IndexSet symmetricDifferenceOf(const IndexSet& a, const IndexSet& b) {
    return sweep(a, b, [](bool inA, bool inB) { return inA != inB; });
}

IndexSet intersectionOf(const IndexSet& a, const IndexSet& b) {
    return sweep(a, b, [](bool inA, bool inB) { return inA && inB; });
}

IndexSet allIndexes(std::size_t count) {
    IndexSet set;
    if (count > 0)
        set.insertRange(0, count - 1);
    return set;
}

IndexSet rangeBetween(std::size_t a, std::size_t b) {
    IndexSet set;
    set.insertRange(std::min(a, b), std::max(a, b));
    return set;
}

}  // namespace platform
