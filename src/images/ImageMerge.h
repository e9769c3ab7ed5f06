// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "images/ImageObject.h"

/// The order in which the image browser shows its items.
enum class ImageSortOrder { title, modificationTime };

/// The order that the settings ask for now. Any thread.
ImageSortOrder imageSortOrderSetting();

/// The items of `shown` that are also in `imported`, in their order, followed by those that only `imported`
/// has, each path once, in theirs. An item that was shown keeps its object, and with it the time stamp it was
/// made with. Linear in both lists. Any thread.
ImageList mergedImages(const ImageList& shown, const ImageList& imported);

/// The items of `images` that have no equal in `others`, in their order. Linear in both lists. Any thread.
ImageList imagesWithout(const ImageList& images, const ImageList& others);

/// Sorts the list; equal items keep their order. Any thread.
void sortImages(ImageList& images, ImageSortOrder order);

/// A merge made ahead on a loading thread: all that costs time on a huge folder. It holds for exactly the
/// lists and the order that it was made of.
struct PreparedMerge {
    ImageListRef shown;
    ImageListRef imported;
    ImageSortOrder order = ImageSortOrder::title;
    ImageListRef merged;

    bool isMadeOf(const ImageListRef& shownNow, const ImageListRef& importedNow,
                  ImageSortOrder orderNow) const {
        return merged != nullptr && shown == shownNow && imported == importedNow && order == orderNow;
    }
};

/// Merges and sorts. Any thread.
PreparedMerge preparedMerge(ImageListRef shown, ImageListRef imported, ImageSortOrder order);
