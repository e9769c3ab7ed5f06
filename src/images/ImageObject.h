// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/FileAccess.h"
#include "platform/views/ImageBrowserView.h"

#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

/// One entry of the image browser: the file, folder or whatever else is at one path. Made and given its path
/// on a loading thread, handed over with its list and only read from then on. Shared by the lists that hold
/// it. The path is kept as the text before the title, which all items of a folder share, and the title, so
/// that a million items stay small.
class ImageObject final : public platform::ImageBrowserItem, public QSharedData {
 public:
    ImageObject() = default;

    /// Takes over the path and asks the file system for the modification time. Writes the debug log.
    void setPath(const QString& path);
    /// The same for an entry of a folder whose status is known already (nothing for a file that cannot be
    /// examined): `folderPrefix` is the folder's path with its slash at the end. Writes no log.
    void setPathInFolder(const QString& folderPrefix, const QString& title,
                         const std::optional<platform::FileStatus>& status);
    /// The debug log's lines about what the file system told of the file.
    static void logAttributes(const std::optional<platform::FileStatus>& status);

    RepresentationType imageRepresentationType() const override { return RepresentationType::path; }
    QString imageRepresentation() const override { return imagePath(); }
    QString imageUID() const override { return imagePath(); }
    QString imageTitle() const override { return _title; }
    QString imageSubtitle() const override;

    /// The path as it was given.
    QString imagePath() const;
    /// The path without its last component; empty for a path without a slash.
    QString imageContainingFolderPath() const;
    /// Seconds since 1970-01-01 00:00 UTC with their fraction; 0 when unknown.
    double modificationTimeStamp() const { return _modificationTimeStamp; }

    /// Whether it was a folder, a link to one included, when its path was set; `unknown` where that could not
    /// be told.
    platform::EntryKind kind() const { return _kind; }

    /// Equality of paths; nothing else counts.
    bool isEqual(const ImageObject& other) const;
    /// Hashes what isEqual() compares.
    std::size_t hash() const { return qHashMulti(0, _title, _folderPrefix); }

    /// -1, 0 or 1: by the titles' UTF-16 code units, so case-sensitive and without regard to language or
    /// runs of digits.
    int compareTitle(const ImageObject& other) const;
    /// -1, 0 or 1: the newer one first. Writes the debug log, two lines for each call.
    int compareModificationTimeStamp(const ImageObject& other) const;

 private:
    // These stand first, where they fill the gap beside the reference count.
    std::uint16_t _slashesAfterTitle = 0;
    platform::EntryKind _kind = platform::EntryKind::unknown;
    QString _folderPrefix;
    QString _title;
    double _modificationTimeStamp = 0;
};

using ImageRef = QExplicitlySharedDataPointer<ImageObject>;
using ImageList = std::vector<ImageRef>;
/// A list that several hold and nobody changes any more.
using ImageListRef = std::shared_ptr<const ImageList>;
