// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/ThumbnailQueue.h"

#include <QHash>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>

namespace platform {

/// Which version of a file: its modification time in nanoseconds and its size in bytes.
struct FileVersion {
    std::int64_t modificationNanoseconds = 0;
    std::uint64_t size = 0;
    bool operator==(const FileVersion&) const = default;
};

/// How urgently something is wanted: by the latest wishes before earlier ones, then by its place in them.
struct ThumbnailRank {
    std::uint64_t wishes = 0;  ///< counts the calls of setWanted()
    std::size_t place = 0;     ///< 0 is the most urgent
    std::strong_ordering operator<=>(const ThumbnailRank& other) const {
        return wishes != other.wishes ? wishes <=> other.wishes : other.place <=> place;
    }
    bool operator==(const ThumbnailRank&) const = default;
};

/// Decoded thumbnails in memory, one a path, bounded by bytes: what is wanted least goes first. One thread.
class ThumbnailCache {
 public:
    struct Entry {
        Thumbnail thumbnail;
        FileVersion version;
        int pixelSize = 0;             ///< what was asked for
        bool isWhole = false;          ///< the picture has no more pixels than these
        bool mayPass = false;          ///< a failure that says nothing of the file
        bool isUnasked = false;        ///< no decoder could be had: to be tried again soon
        std::uint64_t checkedFor = 0;  ///< the wishes for which the file was last looked at

        /// Whether it answers a wish of this size.
        bool serves(int wantedSize) const;
    };

    const Entry* find(const QString& path) const;
    /// Tells that `path` is wanted (again), if it is here.
    void rank(const QString& path, ThumbnailRank rank);
    /// Replaces what is there for `path`; drops what no longer fits, possibly this very entry.
    void insert(const QString& path, Entry entry, ThumbnailRank rank);
    /// The file was looked at for these wishes: it is of this version still.
    void noteChecked(const QString& path, const FileVersion& version, std::uint64_t wishes);
    void remove(const QString& path);

    void setLimit(std::size_t bytes);
    std::size_t bytes() const { return _bytes; }

 private:
    struct Place {
        Entry entry;
        ThumbnailRank rank;
        std::size_t bytes = 0;
    };
    void trim();

    QHash<QString, Place> _places;
    std::set<std::pair<ThumbnailRank, QString>> _order;  ///< least wanted first
    std::size_t _bytes = 0;
    std::size_t _limit = std::size_t{192} << 20;
};

}  // namespace platform
