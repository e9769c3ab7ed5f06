// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageObject.h"

#include "platform/PathBytes.h"
#include "support/Logging.h"

#include <QDateTime>
#include <QTimeZone>

namespace {

constexpr const char* setPathName = "-[ImageObject setPath:]";
constexpr const char* compareModificationTimeStampName = "-[ImageObject compareModificationTimeStamp:]";

QString fileTypeName(platform::EntryKind kind) {
    switch (kind) {
        case platform::EntryKind::regularFile:
            return QStringLiteral("NSFileTypeRegular");
        case platform::EntryKind::folder:
            return QStringLiteral("NSFileTypeDirectory");
        case platform::EntryKind::link:
            return QStringLiteral("NSFileTypeSymbolicLink");
        default:
            return QStringLiteral("NSFileTypeUnknown");
    }
}

QDateTime modificationDate(const platform::FileStatus& status) {
    return QDateTime::fromMSecsSinceEpoch(status.modificationNanoseconds / 1'000'000, Qt::UTC);
}

platform::PropertyValue attributeDictionary(const platform::FileStatus& status) {
    using platform::PropertyValue;
    return PropertyValue::Dictionary{{
        {QStringLiteral("NSFileModificationDate"), modificationDate(status)},
        {QStringLiteral("NSFilePosixPermissions"), static_cast<std::int64_t>(status.mode & 07777)},
        {QStringLiteral("NSFileSize"), static_cast<std::int64_t>(status.size)},
        {QStringLiteral("NSFileSystemFileNumber"), static_cast<std::int64_t>(status.inode)},
        {QStringLiteral("NSFileType"), fileTypeName(status.kind)},
    }};
}

}  // namespace

void ImageObject::setPath(const QString& path) {
    _title = platform::lastPathComponent(path);
    qsizetype titleEnd = path.size();
    while (titleEnd > 1 && path[titleEnd - 1] == u'/')
        --titleEnd;
    _folderPrefix = path.first(titleEnd - _title.size());
    _slashesAfterTitle = static_cast<std::uint16_t>(path.size() - titleEnd);

    const auto status = platform::fileStatus(path);
    _modificationTimeStamp = status ? status->modificationTime : 0;
    _kind = status ? status->kind : platform::EntryKind::unknown;
    logAttributes(status);
}

void ImageObject::setPathInFolder(const QString& folderPrefix, const QString& title,
                                  const std::optional<platform::FileStatus>& status) {
    _folderPrefix = folderPrefix;
    _title = title;
    _slashesAfterTitle = 0;
    _modificationTimeStamp = status ? status->modificationTime : 0;
    _kind = status ? status->kind : platform::EntryKind::unknown;
}

void ImageObject::logAttributes(const std::optional<platform::FileStatus>& status) {
    if (!status) {
        logWithMethodName(setPathName, 56, u"Warning: fileAttributes are nil!");
        return;
    }
    logWithMethodName(setPathName, 41, u"fileAttributes: %@", [&] { return attributeDictionary(*status); });
    logWithMethodName(setPathName, 45, u"fileModificationDate: %@",
                      [&] { return platform::PropertyValue(modificationDate(*status)); });
}

QString ImageObject::imageSubtitle() const {
    return _title.isNull() ? QString() : QStringLiteral("Metadaten oder so.");
}

QString ImageObject::imagePath() const {
    return _slashesAfterTitle == 0 ? _folderPrefix + _title
                                   : _folderPrefix + _title + QString(_slashesAfterTitle, u'/');
}

QString ImageObject::imageContainingFolderPath() const {
    return platform::pathByDeletingLastComponent(imagePath());
}

bool ImageObject::isEqual(const ImageObject& other) const {
    return _title == other._title && _slashesAfterTitle == other._slashesAfterTitle &&
           _folderPrefix == other._folderPrefix;
}

int ImageObject::compareTitle(const ImageObject& other) const {
    const int order = _title.compare(other._title);
    return (order > 0) - (order < 0);
}

int ImageObject::compareModificationTimeStamp(const ImageObject& other) const {
    const double mine = _modificationTimeStamp;
    const double others = other._modificationTimeStamp;
    logWithMethodName(compareModificationTimeStampName, 123, u"myTimeStamp: %d vs. %d", mine, others);
    if (mine == others) {
        logWithMethodName(compareModificationTimeStampName, 129, u"NSOrderedSame!");
        return 0;
    }
    if (mine > others) {
        logWithMethodName(compareModificationTimeStampName, 134, u"NSOrderedAscending!");
        return -1;
    }
    logWithMethodName(compareModificationTimeStampName, 139, u"NSOrderedDescending!");
    return 1;
}
