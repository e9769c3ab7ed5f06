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
        std::stable_sort(images.begin(), images.end(),
                         [](const ImageRef& a, const ImageRef& b) { return a->compareTitle(*b) < 0; });
    } else if (logging::isEnabled()) {
        std::stable_sort(images.begin(), images.end(), [](const ImageRef& a, const ImageRef& b) {
            return a->compareModificationTimeStamp(*b) < 0;
        });
    } else {
        std::stable_sort(images.begin(), images.end(), [](const ImageRef& a, const ImageRef& b) {
            return a->modificationTimeStamp() > b->modificationTimeStamp();
        });
    }
}

PreparedMerge preparedMerge(ImageListRef shown, ImageListRef imported, ImageSortOrder order) {
    ImageList merged = mergedImages(*shown, *imported);
    sortImages(merged, order);
    return {std::move(shown), std::move(imported), order,
            std::make_shared<const ImageList>(std::move(merged))};
}
