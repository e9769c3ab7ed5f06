// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderContents.h"

#include "platform/PathBytes.h"

#include <QCollator>

#include <algorithm>
#include <string_view>
#include <utility>

namespace platform {

namespace {

std::optional<double> modificationTime(const std::optional<FileStatus>& status) {
    return status ? std::optional(status->modificationTime) : std::nullopt;
}

std::optional<FileStatus> statusOfLink(const QString& path, const LinkStatus& linkStatus) {
    return linkStatus ? linkStatus(path) : fileStatus(path);
}

bool mayBeVisibleFolder(std::string_view name, EntryKind kind) {
    return name.front() != '.' && kind != EntryKind::regularFile && kind != EntryKind::other;
}

FolderEntry askedEntry(const QString& folderPath, int folder, std::string_view name,
                       const LinkStatus& linkStatus) {
    FolderEntry entry;
    entry.name = pathFromBytes(QByteArrayView(name.data(), static_cast<qsizetype>(name.size())));
    entry.isHidden = name.front() == '.';
    const auto own = fileStatusAt(folder, name.data(), FollowLinks::no);
    entry.modificationTime = modificationTime(own);
    const bool isLink = own && own->kind == EntryKind::link;
    const auto target = isLink ? statusOfLink(pathByAppending(folderPath, entry.name), linkStatus) : own;
    entry.exists = target.has_value();
    entry.isFolder = target && target->kind == EntryKind::folder;
    return entry;
}

/// By the rules of the user's language; names it holds equal by their code units, so that the order is one.
void sortByLanguage(std::vector<FolderEntry>& entries) {
    if (entries.size() < 2)
        return;
    const QCollator collator;
    std::vector<std::pair<QCollatorSortKey, std::size_t>> keys;
    keys.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
        keys.emplace_back(collator.sortKey(entries[i].name), i);
    std::sort(keys.begin(), keys.end(), [&](const auto& a, const auto& b) {
        const int order = a.first.compare(b.first);
        return order != 0 ? order < 0 : entries[a.second].name < entries[b.second].name;
    });
    std::vector<FolderEntry> sorted;
    sorted.reserve(entries.size());
    for (const auto& key : keys)
        sorted.push_back(std::move(entries[key.second]));
    entries = std::move(sorted);
}

}  // namespace

FolderContents readFolder(const QString& path, FolderDetail detail, const LinkStatus& linkStatus) {
    FolderContents contents;
    const auto own = fileStatus(path, FollowLinks::no);
    contents.modificationTime = modificationTime(own);
    const auto target = own && own->kind == EntryKind::link ? statusOfLink(path, linkStatus) : own;
    contents.isFolder = target && target->kind == EntryKind::folder;
    if (!contents.isFolder || detail == FolderDetail::status)
        return contents;
    const ScopedFileDescriptor folder = openFolder(path);
    if (!folder.isValid())
        return contents;
    contents.isListed = visitFolder(folder.get(), [&](std::string_view name, EntryKind kind) {
        if (detail == FolderDetail::subfolders && !mayBeVisibleFolder(name, kind))
            return true;
        FolderEntry entry = askedEntry(path, folder.get(), name, linkStatus);
        if (detail == FolderDetail::everyEntry || entry.isFolder)
            contents.entries.push_back(std::move(entry));
        return true;
    });
    sortByLanguage(contents.entries);
    return contents;
}

}  // namespace platform
