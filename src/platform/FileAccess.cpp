// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileAccess.h"

#include "platform/PathBytes.h"

#include <QDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace platform {

namespace {

/// Whose nanoseconds fit: 1678 to 2262.
constexpr std::int64_t mostSeconds = 9'223'372'035;

EntryKind kindFromMode(std::uint32_t mode) {
    switch (mode & S_IFMT) {
        case S_IFREG:
            return EntryKind::regularFile;
        case S_IFDIR:
            return EntryKind::folder;
        case S_IFLNK:
            return EntryKind::link;
        default:
            return EntryKind::other;
    }
}

EntryKind kindFromDirectoryType(unsigned char type) {
    switch (type) {
        case 0:  // DT_UNKNOWN
            return EntryKind::unknown;
        case 4:  // DT_DIR
            return EntryKind::folder;
        case 8:  // DT_REG
            return EntryKind::regularFile;
        case 10:  // DT_LNK
            return EntryKind::link;
        default:
            return EntryKind::other;
    }
}

std::optional<FileStatus> statusOf(int folder, const char* name, int flags) {
    struct statx s {};
    if (::statx(folder, name, flags | AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS, &s) != 0)
        return std::nullopt;
    FileStatus status;
    status.kind = kindFromMode(s.stx_mode);
    status.modificationTime = static_cast<double>(s.stx_mtime.tv_sec) + s.stx_mtime.tv_nsec / 1e9;
    status.modificationNanoseconds =
        std::clamp<std::int64_t>(s.stx_mtime.tv_sec, -mostSeconds, mostSeconds) * 1'000'000'000 +
        s.stx_mtime.tv_nsec;
    status.size = s.stx_size;
    status.device = (static_cast<std::uint64_t>(s.stx_dev_major) << 32) | s.stx_dev_minor;
    status.inode = s.stx_ino;
    status.mode = s.stx_mode;
    return status;
}

int linkFlags(FollowLinks follow) {
    return follow == FollowLinks::yes ? 0 : AT_SYMLINK_NOFOLLOW;
}

bool isRegularFile(int descriptor) {
    const auto status = statusOf(descriptor, "", AT_EMPTY_PATH);
    return status && status->kind == EntryKind::regularFile;
}

/// The kernel's linux_dirent64 without its name (getdents64(2)).
struct DirectoryRecord {
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short length;
    unsigned char type;
};
constexpr std::size_t nameOffset = 19;

}  // namespace

std::optional<FileStatus> fileStatus(const QString& path, FollowLinks follow) {
    return statusOf(AT_FDCWD, bytesFromPath(path).constData(), linkFlags(follow));
}

std::optional<FileStatus> fileStatusAt(int folderDescriptor, const char* name, FollowLinks follow) {
    return statusOf(folderDescriptor, name, linkFlags(follow));
}

std::optional<FileStatus> fileStatusOfDescriptor(int descriptor) {
    return statusOf(descriptor, "", AT_EMPTY_PATH);
}

QString plainPath(const QString& path) {
    const qsizetype up = (path + u'/').lastIndexOf(QStringLiteral("/../"));
    if (up < 0)
        return QDir::cleanPath(path);
    const qsizetype length = up + 3;
    const std::unique_ptr<char, decltype(&std::free)> real(
        ::realpath(bytesFromPath(path.first(length)).constData(), nullptr), &std::free);
    return QDir::cleanPath(real == nullptr ? path : pathFromBytes(real.get()) + path.sliced(length));
}

bool isExistingFolder(const QString& path) {
    const auto status = fileStatus(path);
    return status && status->kind == EntryKind::folder;
}

ScopedFileDescriptor openFolder(const QString& path) {
    return ScopedFileDescriptor(
        ::open(bytesFromPath(path).constData(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
}

bool visitFolder(int folderDescriptor,
                 const std::function<bool(std::string_view name, EntryKind kind)>& visit) {
    alignas(8) std::array<char, 65536> buffer;
    for (;;) {
        const long got = ::syscall(SYS_getdents64, folderDescriptor, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            DirectoryRecord record;
            std::memcpy(&record, buffer.data() + at, sizeof record);
            const std::string_view name(buffer.data() + at + nameOffset);
            at += record.length;
            if (name == "." || name == "..")
                continue;
            if (!visit(name, kindFromDirectoryType(record.type)))
                return true;
        }
    }
}

ScopedFileDescriptor openRegularFile(const QString& path) {
    constexpr int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const QByteArray bytes = bytesFromPath(path);
    const ScopedFileDescriptor place(::open(bytes.constData(), O_PATH | O_CLOEXEC));
    if (!place.isValid())
        return ScopedFileDescriptor();
    if (!isRegularFile(place.get())) {
        errno = EINVAL;
        return ScopedFileDescriptor();
    }
    const QByteArray own = "/proc/self/fd/" + QByteArray::number(place.get());
    ScopedFileDescriptor file(::open(own.constData(), flags));
    if (file.isValid() || errno != ENOENT)
        return file;
    file = ScopedFileDescriptor(::open(bytes.constData(), flags));
    if (file.isValid() && !isRegularFile(file.get())) {
        file.reset();
        errno = EINVAL;
    }
    return file;
}

bool writeWhole(int descriptor, QByteArrayView bytes) {
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

}  // namespace platform
