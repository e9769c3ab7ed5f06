// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"

namespace platform {

/// Set algebra over runs; time and memory go with the number of runs, never with that of indexes.
IndexSet unionOf(const IndexSet& a, const IndexSet& b);
/// What is in `a` and not in `b`.
IndexSet differenceOf(const IndexSet& a, const IndexSet& b);
/// What is in exactly one of the two.
IndexSet symmetricDifferenceOf(const IndexSet& a, const IndexSet& b);
/// What is in both.
IndexSet intersectionOf(const IndexSet& a, const IndexSet& b);

/// All indexes from 0 to `count` - 1.
IndexSet allIndexes(std::size_t count);
/// All indexes between the two, which may come in either order.
IndexSet rangeBetween(std::size_t a, std::size_t b);

}  // namespace platform
