// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/IndexSet.h"

#include <QStringList>

#include <algorithm>

namespace platform {

IndexSet::IndexSet(std::initializer_list<std::size_t> indexes) {
    for (const std::size_t index : indexes)
        insert(index);
}

void IndexSet::insertRange(std::size_t first, std::size_t last) {
    // The runs that touch or overlap the new one melt into it.
    const auto begin =
        std::lower_bound(_ranges.begin(), _ranges.end(), first,
                         [](const Range& range, std::size_t value) { return range.last + 1 < value; });
    const auto end = std::upper_bound(begin, _ranges.end(), last, [](std::size_t value, const Range& range) {
        return value + 1 < range.first;
    });
    if (begin != end) {
        first = std::min(first, begin->first);
        last = std::max(last, std::prev(end)->last);
    }
    _ranges.insert(_ranges.erase(begin, end), Range{first, last});
}

bool IndexSet::contains(std::size_t index) const {
    const auto range = std::lower_bound(_ranges.begin(), _ranges.end(), index,
                                        [](const Range& r, std::size_t value) { return r.last < value; });
    return range != _ranges.end() && range->first <= index;
}

std::size_t IndexSet::count() const {
    std::size_t total = 0;
    for (const Range& range : _ranges)
        total += range.last - range.first + 1;
    return total;
}

QString IndexSet::description() const {
    QStringList parts;
    for (const Range& range : _ranges) {
        QString part = QString::number(range.first);
        if (range.last != range.first)
            part += u'-' + QString::number(range.last);
        parts += part;
    }
    return u'(' + parts.join(QStringLiteral(", ")) + u')';
}

}  // namespace platform
