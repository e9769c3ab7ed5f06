// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageMerge.h"

#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace {

/// Finds the items of one list by their paths: open addressing with linear probing, at most half full.
class PathIndex {
 public:
    explicit PathIndex(const ImageList& images) : _images(images) {
        std::size_t size = 16;
        while (size < images.size() * 2)
            size *= 2;
        _slots.assign(size, Slot{});
    }

    /// The position of the first item equal to `image` that was added, or -1.
    std::int64_t find(const ImageObject& image) const {
        const std::size_t hash = image.hash();
        for (std::size_t at = hash & mask(); _slots[at].position >= 0; at = (at + 1) & mask())
            if (holds(_slots[at], hash, image))
                return _slots[at].position;
        return -1;
    }

    /// Adds the item at `position` of the list; false when an equal one is there already.
    bool add(std::size_t position) {
        const ImageObject& image = *_images[position];
        const std::size_t hash = image.hash();
        std::size_t at = hash & mask();
        for (; _slots[at].position >= 0; at = (at + 1) & mask())
            if (holds(_slots[at], hash, image))
                return false;
        _slots[at] = {static_cast<std::int64_t>(position), hash};
        return true;
    }

 private:
    struct Slot {
        std::int64_t position = -1;
        std::size_t hash = 0;
    };

    std::size_t mask() const { return _slots.size() - 1; }
    bool holds(const Slot& slot, std::size_t hash, const ImageObject& image) const {
        return slot.hash == hash && _images[static_cast<std::size_t>(slot.position)]->isEqual(image);
    }

    const ImageList& _images;
    std::vector<Slot> _slots;
};

/// Eight (or four, where some are not Latin-1) of a title's code units as one number that orders like them,
/// from where the titles begin to differ: names of one camera have their first half in common.
class TitleKeys {
 public:
    explicit TitleKeys(const ImageList& images) {
        if (images.empty())
            return;
        const QString first = images.front()->imageTitle();
        _start = first.size();
        for (const ImageRef& image : images) {
            const QString title = image->imageTitle();
            const qsizetype end = std::min(_start, title.size());
            _start = std::mismatch(first.begin(), first.begin() + end, title.begin()).first - first.begin();
        }
        _isNarrow = std::all_of(images.begin(), images.end(), [this](const ImageRef& image) {
            const QString title = image->imageTitle();
            return std::all_of(title.begin() + std::min(_start, title.size()),
                               title.begin() + std::min(_start + 8, title.size()),
                               [](QChar c) { return c.unicode() < 0x100; });
        });
    }

    std::uint64_t keyOf(const ImageObject& image) const {
        const QString title = image.imageTitle();
        const int count = _isNarrow ? 8 : 4;
        std::uint64_t key = 0;
        for (qsizetype i = _start; i < _start + count; ++i)
            key = key << (64 / count) | (i < title.size() ? title[i].unicode() : 0U);
        return key;
    }

 private:
    qsizetype _start = 0;
    bool _isNarrow = false;
};

/// Sorts stably by a number for each item, which lies close by, and asks the items themselves only where the
/// numbers are equal.
template <typename KeyOf, typename IsLess>
void sortByKeys(ImageList& images, const KeyOf& keyOf, const IsLess& isLess) {
    struct Place {
        decltype(keyOf(*images.front())) key;
        std::uint32_t position;
    };
    std::vector<Place> places;
    places.reserve(images.size());
    for (const ImageRef& image : images)
        places.push_back({keyOf(*image), static_cast<std::uint32_t>(places.size())});
    const auto comesBefore = [&](const Place& a, const Place& b) {
        return a.key != b.key ? a.key < b.key : isLess(*images[a.position], *images[b.position]);
    };
    if (std::is_sorted(places.begin(), places.end(), comesBefore))
        return;
    std::stable_sort(places.begin(), places.end(), comesBefore);
    ImageList sorted;
    sorted.reserve(images.size());
    for (const Place& place : places)
        sorted.push_back(std::move(images[place.position]));
    images = std::move(sorted);
}

}  // namespace

ImageSortOrder imageSortOrderSetting() {
    const QVariant setting = appGlobals->objectForKey(PreferenceKeys::imagesBrowserSort);
    return platform::integerReading(setting) == 1 ? ImageSortOrder::modificationTime : ImageSortOrder::title;
}

ImageList mergedImages(const ImageList& shown, const ImageList& imported) {
    enum class Fate : std::uint8_t { repeated, isNew, alreadyShown };
    std::vector<Fate> fates(imported.size(), Fate::repeated);
    PathIndex index(imported);
    for (std::size_t i = 0; i < imported.size(); ++i)
        if (index.add(i))
            fates[i] = Fate::isNew;

    ImageList merged;
    merged.reserve(imported.size());
    for (const ImageRef& image : shown) {
        const std::int64_t position = index.find(*image);
        if (position < 0)
            continue;
        fates[static_cast<std::size_t>(position)] = Fate::alreadyShown;
        merged.push_back(image);
    }
    for (std::size_t i = 0; i < imported.size(); ++i)
        if (fates[i] == Fate::isNew)
            merged.push_back(imported[i]);
    return merged;
}

ImageList imagesWithout(const ImageList& images, const ImageList& others) {
    PathIndex index(others);
    for (std::size_t i = 0; i < others.size(); ++i)
        index.add(i);
    ImageList result;
    std::copy_if(images.begin(), images.end(), std::back_inserter(result),
                 [&](const ImageRef& image) { return index.find(*image) < 0; });
    return result;
}

void sortImages(ImageList& images, ImageSortOrder order) {
    if (order == ImageSortOrder::title) {
        const TitleKeys keys(images);
        sortByKeys(
            images, [&](const ImageObject& image) { return keys.keyOf(image); },
            [](const ImageObject& a, const ImageObject& b) { return a.compareTitle(b) < 0; });
    } else if (logging::isEnabled()) {
        std::stable_sort(images.begin(), images.end(), [](const ImageRef& a, const ImageRef& b) {
            return a->compareModificationTimeStamp(*b) < 0;
        });
    } else {
        sortByKeys(
            images, [](const ImageObject& image) { return -image.modificationTimeStamp(); },
            [](const ImageObject&, const ImageObject&) { return false; });
    }
}

PreparedMerge preparedMerge(ImageListRef shown, ImageListRef imported, ImageSortOrder order) {
    ImageList merged = mergedImages(*shown, *imported);
    sortImages(merged, order);
    return {std::move(shown), std::move(imported), order,
            std::make_shared<const ImageList>(std::move(merged))};
}
