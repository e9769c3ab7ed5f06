// SPDX-License-Identifier: GPL-3.0-or-later
#include "places/FileSystemItem.h"

#include "platform/desktop/UserDefaults.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "support/PathAndListHelpers.h"

#include <QDateTime>
#include <QVariantMap>

#include <algorithm>
#include <optional>
#include <type_traits>

using platform::FolderContents;
using platform::FolderDetail;
using platform::FolderEntry;
using platform::FolderReader;

namespace {

constexpr const char* initName = "-[FileSystemItem initWithPath:parent:]";
constexpr const char* childrenName = "-[FileSystemItem children]";
constexpr const char* compareName = "-[FileSystemItem compareModificationTimeStamp:]";

enum PlacesSort { sortByListing = 0, sortByModificationDate = 1 };

int placesSortSetting() {
    return appGlobals == nullptr
               ? sortByListing
               : platform::integerReading(appGlobals->objectForKey(PreferenceKeys::placesBrowserSort));
}

std::optional<double> modificationTimeOf(const QString& path) {
    const auto contents = FolderReader::shared().contents(path, FolderDetail::status);
    return contents ? contents->modificationTime : std::nullopt;
}

QString dateText(double secondsSince1970) {
    constexpr double mostMilliseconds = 9e18;
    const double milliseconds = std::clamp(secondsSince1970 * 1000, -mostMilliseconds, mostMilliseconds);
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(milliseconds), Qt::UTC)
        .toString(Qt::ISODateWithMs);
}

}  // namespace

std::shared_ptr<FileSystemItem> FileSystemItem::rootItem() {
    logWithMethodName("+[FileSystemItem rootItem]", 62, u"Hey");
    return std::make_shared<FileSystemItem>(QStringLiteral("/"), nullptr);
}

std::shared_ptr<FileSystemItem> FileSystemItem::rootItemWithPath(const QString& path) {
    constexpr const char* method = "+[FileSystemItem rootItemWithPath:]";
    logWithMethodName(method, 73, u"Hey, path: %@", path);
    logWithMethodName(method, 77, u"Hey, initWithPath: %@", path);
    return std::make_shared<FileSystemItem>(path, nullptr);
}

FileSystemItem::FileSystemItem(const QString& path, FileSystemItem* parent, const FolderEntry* known)
    : _relativePath(platform::lastPathComponent(path)), _parent(parent) {
    logWithMethodName(initName, 86, u"initWithPath: %@ parent: %p", path, parent);
    std::optional<QString> name;  // no file of this desktop has a label of its own
    if (parent != nullptr) {
        _fullPath = platform::pathByAppending(parent->fullPath(), path);
        _childrenArrived = parent->_childrenArrived;
    } else {
        logWithMethodName(initName, 93, u"No parent");
        name = volumeNameForPath(path);
        _fullPath = path;
    }
    if (!name)
        logWithMethodName(initName, 121, u"NSURLLocalizedLabelKey returned nothing for %@", _fullPath);
    _name = name.value_or(_relativePath);
    takeModificationTime(known != nullptr ? known->modificationTime : modificationTimeOf(_fullPath));
    logWithMethodName(initName, 150, u"relativePath: %@", _relativePath);
    logWithMethodName(initName, 151, u"_name       : %@", _name);
    logWithMethodName(initName, 152, u"_fullPath   : %@", _fullPath);
    logWithMethodName(initName, 153, u"_modificationTimeStamp: %d", _modificationTimeStamp);
}

FileSystemItem::~FileSystemItem() {
    if (const List* list = std::get_if<List>(&_children)) {
        for (const auto& child : *list)
            child->_parent = nullptr;
    }
}

void FileSystemItem::takeModificationTime(std::optional<double> time) {
    if (!time.has_value()) {
        logWithMethodName(initName, 131, u"Warning: fileAttributes are nil!");
        return;
    }
    _modificationTimeStamp = *time;
    const auto date = [this] {
        return dateText(_modificationTimeStamp);
    };
    const auto attributes = [&] {
        return QVariantMap{{QStringLiteral("NSFileModificationDate"), date()}};
    };
    logWithMethodName(initName, 135, u"fileAttributes: %@", attributes);
    logWithMethodName(initName, 146, u"fileModificationDate: %@", date);
}

void FileSystemItem::setNodeIcon(const platform::ImageRef& icon) {
    const bool isEqual = _nodeIcon && icon && *_nodeIcon == *icon;
    if (!isEqual)
        _nodeIcon = icon;
}

const FileSystemItem::Children& FileSystemItem::children() {
    if (!std::holds_alternative<NotLoaded>(_children))
        return _children;
    logWithMethodName(childrenName, 213, u"children for directory: %@", _fullPath);
    const FolderDetail detail = logging::isEnabled() ? FolderDetail::everyEntry : FolderDetail::subfolders;
    return loadChildren(detail, &FileSystemItem::adoptContents);
}

const FileSystemItem::Children& FileSystemItem::children_ORIGINAL() {
    logWithMethodName("-[FileSystemItem children_ORIGINAL]", 178, u"foo");
    if (!std::holds_alternative<NotLoaded>(_children))
        return _children;
    return loadChildren(FolderDetail::everyEntry, &FileSystemItem::adoptEveryEntry);
}

const FileSystemItem::Children& FileSystemItem::loadChildren(FolderDetail detail, AdoptContents adopt) {
    const auto adoptLate = [this, adopt](const FolderContents& contents) {
        _isAwaitingChildren = false;
        (this->*adopt)(contents);
        if (_childrenArrived && *_childrenArrived)
            (*_childrenArrived)(*this);
    };
    const auto contents = FolderReader::shared().contents(_fullPath, detail, {weak_from_this(), adoptLate});
    _isAwaitingChildren = !contents;
    if (contents)
        (this->*adopt)(*contents);
    else
        _children = List();
    return _children;
}

void FileSystemItem::adoptContents(const FolderContents& contents) {
    if (!contents.isFolder) {
        _children = NotAFolder();
        return;
    }
    List list;
    list.reserve(contents.entries.size());
    for (const FolderEntry& entry : contents.entries) {
        const bool isAdded = shouldAddEntry(entry);
        if (isAdded) {
            logWithMethodName(childrenName, 285, u"Adding this item.");
            addChild(list, entry);
        } else {
            logWithMethodName(childrenName, 292, u"Not adding this item.");
        }
    }
    if (contents.isListed)
        sortChildren(list);
    _children = std::move(list);
}

void FileSystemItem::adoptEveryEntry(const FolderContents& contents) {
    if (!contents.isFolder) {
        _children = NotAFolder();
        return;
    }
    List list;
    list.reserve(contents.entries.size());
    for (const FolderEntry& entry : contents.entries)
        addChild(list, entry);
    _children = std::move(list);
}

bool FileSystemItem::shouldAddEntry(const FolderEntry& entry) const {
    const QString path = _fullPath + u'/' + entry.name;
    const bool canBeAsked = entry.modificationTime.has_value();
    bool isHidden = path.startsWith(u'.');
    if (isHidden)
        logWithMethodName(childrenName, 245, u"%@ is hidden with a dot.", path);

    if (canBeAsked)
        logWithMethodName(childrenName, 254, u"isHidden: %@", entry.isHidden);
    else
        logWithMethodName(childrenName, 263, u"Could not get NSURLIsHiddenKey value.");
    if (canBeAsked && entry.isHidden) {
        logWithMethodName(childrenName, 257, u"%@ is hidden with url property NSURLIsHiddenKey.", path);
        isHidden = true;
    }

    // No folder of this desktop is a package.
    if (canBeAsked)
        logWithMethodName(childrenName, 270, u"isPackageValue: %@", false);
    else
        logWithMethodName(childrenName, 279, u"Could not get NSURLIsPackageKey value.");
    return entry.exists && entry.isFolder && !isHidden;
}

void FileSystemItem::addChild(List& list, const FolderEntry& entry) {
    list.push_back(std::make_shared<FileSystemItem>(entry.name, this, &entry));
}

void FileSystemItem::sortChildren(List& list) const {
    if (placesSortSetting() != sortByModificationDate)
        return;
    logWithMethodName(childrenName, 299, u"Sort by modification date!");
    std::stable_sort(list.begin(), list.end(),
                     [](const auto& a, const auto& b) { return a->compareModificationTimeStamp(*b) < 0; });
}

void FileSystemItem::forgetChildren() {
    _children = NotLoaded();
}

int FileSystemItem::numberOfChildren() {
    const List* list = std::get_if<List>(&children());
    return list == nullptr ? -1 : static_cast<int>(list->size());
}

bool FileSystemItem::isLeaf() {
    return numberOfChildren() < 1;
}

const std::shared_ptr<FileSystemItem>& FileSystemItem::childAtIndex(int index) {
    return std::get<List>(children()).at(static_cast<std::size_t>(index));
}

int FileSystemItem::compareModificationTimeStamp(const FileSystemItem& other) const {
    const double mine = _modificationTimeStamp;
    const double theirs = other._modificationTimeStamp;
    logWithMethodName(compareName, 375, u"myTimeStamp: %d vs. %d", mine, theirs);
    logWithMethodName(compareName, 376, u"myTimeStamp: %@ vs. %@", _name, other._name);
    if (mine == theirs) {
        logWithMethodName(compareName, 381, u"NSOrderedSame!");
        return 0;
    }
    if (mine > theirs) {
        logWithMethodName(compareName, 386, u"NSOrderedAscending!");
        return -1;
    }
    logWithMethodName(compareName, 391, u"NSOrderedDescending!");
    return 1;
}

void FileSystemItem::setChildrenArrivedHandler(std::shared_ptr<const ChildrenArrived> handler) {
    _childrenArrived = std::move(handler);
}
