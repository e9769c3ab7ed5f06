// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Volumes.h"

#include "platform/FileAccess.h"
#include "platform/MountTable.h"
#include "platform/PathBytes.h"

#include <gio/gunixmounts.h>

#include <dirent.h>
#include <stdlib.h>

#include <optional>

namespace platform {

namespace {

constexpr auto labelFolder = "/dev/disk/by-label/";
constexpr QByteArrayView showOption = "x-gvfs-show";
constexpr QByteArrayView hideOption = "x-gvfs-hide";
constexpr QByteArrayView nameOption = "x-gvfs-name=";

struct UserOptions {
    std::optional<bool> isSeen;
    QString name;
};

QString unescapedUriText(const QByteArray& escaped) {
    char* plain = g_uri_unescape_string(escaped.constData(), nullptr);
    QString text = pathFromBytes(plain == nullptr ? escaped : QByteArray(plain));
    g_free(plain);
    return text;
}

UserOptions userOptions(const QByteArray& options) {
    UserOptions user;
    for (const QByteArray& option : options.split(',')) {
        if (option == showOption)
            user.isSeen = true;
        else if (option == hideOption)
            user.isSeen = false;
        else if (option.startsWith(nameOption))
            user.name = unescapedUriText(option.sliced(nameOption.size()));
    }
    return user;
}

bool isSeen(const MountEntry& mount) {
    return mount.path == u"/" || userOptions(mount.options).isSeen.value_or(mount.isLikelySeen);
}

Volume volumeOfMount(const MountEntry& mount, const QHash<QByteArray, QString>& labels) {
    QString name = userOptions(mount.options).name;
    if (name.isEmpty())
        name = labels.value(mount.device);
    if (name.isEmpty())
        name = lastPathComponent(mount.path);
    return {mount.path, name};
}

/// udev escapes in the names of its links what is not harmless there as \x20.
QString labelOfLinkName(const QByteArray& name) {
    QByteArray label;
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QByteArray digits = name.mid(i + 2, 2);
        bool isHexadecimal = false;
        const int byte = digits.toInt(&isHexadecimal, 16);
        if (name[i] == '\\' && i + 3 < name.size() && name[i + 1] == 'x' && isHexadecimal) {
            label += static_cast<char>(byte);
            i += 3;
        } else {
            label += name[i];
        }
    }
    return pathFromBytes(label);
}

QByteArray resolvedDevice(const QByteArray& path) {
    char* resolved = path.startsWith("/dev/") ? ::realpath(path.constData(), nullptr) : nullptr;
    QByteArray device = resolved == nullptr ? path : QByteArray(resolved);
    ::free(resolved);
    return device;
}

/// The file systems' labels by device, as udev links them.
QHash<QByteArray, QString> deviceLabels() {
    QHash<QByteArray, QString> labels;
    DIR* folder = ::opendir(labelFolder);
    if (folder == nullptr)
        return labels;
    while (const dirent* entry = ::readdir(folder)) {
        const QByteArray name(entry->d_name);
        if (!name.startsWith('.'))
            labels.insert(resolvedDevice(labelFolder + name), labelOfLinkName(name));
    }
    ::closedir(folder);
    return labels;
}

QList<MountEntry> currentMountTable() {
    QList<MountEntry> table;
    GList* mounts = g_unix_mounts_get(nullptr);
    for (GList* at = mounts; at != nullptr; at = at->next) {
        auto* mount = static_cast<GUnixMountEntry*>(at->data);
        table.append({pathFromBytes(g_unix_mount_get_mount_path(mount)),
                      resolvedDevice(g_unix_mount_get_device_path(mount)), g_unix_mount_get_options(mount),
                      g_unix_mount_guess_should_display(mount) != FALSE});
    }
    g_list_free_full(mounts, reinterpret_cast<GDestroyNotify>(g_unix_mount_free));
    return table;
}

}  // namespace

QList<Volume> visibleVolumes(const QList<MountEntry>& mountTable, const QHash<QByteArray, QString>& labels) {
    QList<MountEntry> mounts{{QStringLiteral("/"), {}, {}, true}};
    QHash<QString, qsizetype> places{{QStringLiteral("/"), 0}};
    for (const MountEntry& mount : mountTable) {
        const auto place = places.constFind(mount.path);
        if (place != places.constEnd()) {
            mounts[*place] = mount;
        } else {
            places.insert(mount.path, mounts.size());
            mounts.append(mount);
        }
    }
    QList<Volume> volumes;
    for (const MountEntry& mount : mounts) {
        if (isSeen(mount))
            volumes.append(volumeOfMount(mount, labels));
    }
    return volumes;
}

/// Listed again only when the kernel says that the mount table changed, or the device folder that the labels
/// did, as every row of the places asks for its volume's name.
QList<Volume> mountedVolumes() {
    static MountTable table;
    static std::optional<FileStatus> labels;
    static QList<Volume> volumes;
    const auto labelsNow = fileStatus(QString::fromLatin1(labelFolder));
    const auto time = [](const std::optional<FileStatus>& status) {
        return status ? std::optional(status->modificationNanoseconds) : std::nullopt;
    };
    if (table.hasChanged() || time(labels) != time(labelsNow)) {
        labels = labelsNow;
        volumes = visibleVolumes(currentMountTable(), deviceLabels());
    }
    return volumes;
}

}  // namespace platform
