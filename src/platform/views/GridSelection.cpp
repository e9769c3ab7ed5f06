// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridSelection.h"

#include "platform/views/IndexSetAlgebra.h"

#include <utility>

namespace platform {

void GridSelection::reset(std::size_t count) {
    *this = {};
    _count = count;
}

IndexSet GridSelection::setIndexes(IndexSet indexes) {
    if (!indexes.isEmpty() && indexes.lastIndex() >= _count)
        indexes = intersectionOf(indexes, allIndexes(_count));
    IndexSet changed = symmetricDifferenceOf(_indexes, indexes);
    _indexes = std::move(indexes);
    return changed;
}

IndexSet GridSelection::select(std::size_t index, Mode mode) {
    if (index >= _count)
        return {};
    _current = index;
    if (mode == Mode::moveCurrent)
        return {};
    const IndexSet one{index};
    if (mode == Mode::replace || mode == Mode::toggle) {
        _anchor = index;
        return setIndexes(mode == Mode::replace ? one : symmetricDifferenceOf(_indexes, one));
    }
    if (!_anchor)
        _anchor = index;
    const IndexSet range = rangeBetween(*_anchor, index);
    return setIndexes(mode == Mode::range ? range : unionOf(_indexes, range));
}

IndexSet GridSelection::selectAll() {
    return setIndexes(allIndexes(_count));
}

IndexSet GridSelection::beginBand(BandMode mode) {
    _bandMode = mode;
    _beforeBand = _indexes;
    return setBand({});
}

IndexSet GridSelection::setBand(const IndexSet& inBand) {
    switch (_bandMode) {
        case BandMode::replace:
            return setIndexes(inBand);
        case BandMode::add:
            return setIndexes(unionOf(_beforeBand, inBand));
        case BandMode::toggle:
            return setIndexes(symmetricDifferenceOf(_beforeBand, inBand));
    }
    return {};
}

IndexSet GridSelection::cancelBand() {
    return setIndexes(_beforeBand);
}

}  // namespace platform
