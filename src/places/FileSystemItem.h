// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/FolderReader.h"
#include "platform/Image.h"
#include "platform/views/OutlineView.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

/// One node of the places tree: a volume or a folder with its name, its path, its icon and its visible
/// subfolders, which are listed at the first demand and then stay as they are. A parent owns its children;
/// the outline shares those it shows. Main thread only.
///
/// Where the file system does not answer in time (platform::FolderReader) the folder counts as unreadable;
/// its children are set once more when the answer comes, and the item's handler is told.
class FileSystemItem : public platform::OutlineItem, public std::enable_shared_from_this<FileSystemItem> {
 public:
    struct NotLoaded {};
    struct NotAFolder {};
    using List = std::vector<std::shared_ptr<FileSystemItem>>;
    using Children = std::variant<NotLoaded, NotAFolder, List>;
    /// Is told of an item whose children came late.
    using ChildrenArrived = std::function<void(FileSystemItem& item)>;

    static std::shared_ptr<FileSystemItem> rootItem();
    static std::shared_ptr<FileSystemItem> rootItemWithPath(const QString& path);

    /// With a parent, `path` is the bare name of an entry of its folder, and `known` what the listing told of
    /// it; without them `path` is absolute and is asked. To be held by a shared pointer, or late answers are
    /// lost.
    FileSystemItem(const QString& path, FileSystemItem* parent, const platform::FolderEntry* known = nullptr);
    ~FileSystemItem() override;

    const QString& name() const { return _name; }
    void setName(const QString& name) { _name = name; }
    const QString& relativePath() const { return _relativePath; }
    const QString& fullPath() const { return _fullPath; }
    /// Seconds since 1970; 0 when unknown.
    double modificationTimeStamp() const { return _modificationTimeStamp; }
    /// Null for a root item.
    FileSystemItem* parent() const { return _parent; }
    QString outlineIdentity() const override { return _fullPath; }

    const platform::ImageRef& nodeIcon() const { return _nodeIcon; }
    void setNodeIcon(const platform::ImageRef& icon);

    /// A list or NotAFolder, never NotLoaded.
    const Children& children();
    /// They are listed anew at the next demand. The outline has to be told.
    void forgetChildren();
    /// -1 when this is not a folder, 0 for an empty or unreadable one.
    int numberOfChildren();
    bool isLeaf();
    /// Throws (std::bad_variant_access, std::out_of_range) where there is no such child.
    const std::shared_ptr<FileSystemItem>& childAtIndex(int index);

    /// -1, 0 or 1: the newer one first.
    int compareModificationTimeStamp(const FileSystemItem& other) const;

    /// An older listing: every entry, unsorted.
    const Children& children_ORIGINAL();

    /// Whether the children are still owed by the file system.
    bool isAwaitingChildren() const { return _isAwaitingChildren; }
    /// Serves this item and those listed below it from now on.
    void setChildrenArrivedHandler(std::shared_ptr<const ChildrenArrived> handler);

 private:
    using AdoptContents = void (FileSystemItem::*)(const platform::FolderContents&);

    void takeModificationTime(std::optional<double> time);
    const Children& loadChildren(platform::FolderDetail detail, AdoptContents adopt);
    void adoptContents(const platform::FolderContents& contents);
    void adoptEveryEntry(const platform::FolderContents& contents);
    bool shouldAddEntry(const platform::FolderEntry& entry) const;
    void addChild(List& list, const platform::FolderEntry& entry);
    void sortChildren(List& list) const;

    QString _relativePath;
    QString _fullPath;
    QString _name;
    double _modificationTimeStamp = 0;
    FileSystemItem* _parent;
    Children _children;
    platform::ImageRef _nodeIcon;

    bool _isAwaitingChildren = false;
    std::shared_ptr<const ChildrenArrived> _childrenArrived;
};
