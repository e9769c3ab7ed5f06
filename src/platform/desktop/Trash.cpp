// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Trash.h"

#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "platform/ScopedFileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDateTime>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>

namespace platform {

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr qsizetype longestName = 255;  // NAME_MAX of every file system at hand
const QByteArray infoSuffix = QByteArrayLiteral(".trashinfo");

TrashFailure failure(const char* step, int error = errno) {
    return {error,
            QString::fromLatin1(step) + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(error))};
}

/// The mount a file lies on. Two mounts of one file system differ: a rename between them fails.
struct MountIdentity {
    std::uint64_t mount = 0;
    std::uint64_t device = 0;
    bool operator==(const MountIdentity&) const = default;
};

std::optional<MountIdentity> mountOf(int folder, const char* name) {
    struct statx s {};
    if (::statx(folder, name, AT_SYMLINK_NOFOLLOW | (*name == '\0' ? AT_EMPTY_PATH : 0),
                STATX_BASIC_STATS | STATX_MNT_ID, &s) != 0)
        return std::nullopt;
    const std::uint64_t mount = (s.stx_mask & STATX_MNT_ID) != 0 ? s.stx_mnt_id : 0;
    return MountIdentity{mount, (std::uint64_t{s.stx_dev_major} << 32) | s.stx_dev_minor};
}

/// A trash can, open: "files" and "info", and what its restore paths are relative to.
struct TrashCan {
    QByteArray folder;
    QByteArray topFolder;  ///< empty for the home trash, whose paths are absolute
    ScopedFileDescriptor files;
    ScopedFileDescriptor info;
};

enum class Links : bool { refused, followed };

/// Opens a folder below another, making it (0700) where it is missing.
ScopedFileDescriptor openOrMake(int parent, const char* name, Links links) {
    if (::mkdirat(parent, name, 0700) != 0 && errno != EEXIST)
        return ScopedFileDescriptor();
    return ScopedFileDescriptor(
        ::openat(parent, name, folderFlags | (links == Links::refused ? O_NOFOLLOW : 0)));
}

std::optional<TrashCan> openCan(ScopedFileDescriptor folder, QByteArray path, QByteArray topFolder) {
    if (!folder.isValid())
        return std::nullopt;
    TrashCan can{std::move(path), std::move(topFolder), openOrMake(folder.get(), "files", Links::refused),
                 openOrMake(folder.get(), "info", Links::refused)};
    if (!can.files.isValid() || !can.info.isValid())
        return std::nullopt;
    return can;
}

void makeFolderWithParents(const QByteArray& path) {
    for (qsizetype slash = path.indexOf('/', 1); slash > 0; slash = path.indexOf('/', slash + 1))
        ::mkdir(path.first(slash).constData(), 0700);
}

std::optional<TrashCan> homeTrash() {
    QByteArray data = qgetenv("XDG_DATA_HOME");
    if (!data.startsWith('/'))
        data = qgetenv("HOME") + "/.local/share";
    if (!data.startsWith('/'))
        return std::nullopt;
    makeFolderWithParents(data + '/');
    const QByteArray path = data + "/Trash";
    return openCan(openOrMake(AT_FDCWD, path.constData(), Links::followed), path, {});
}

/// The top folder of the mount on which the real folder `path` lies.
QByteArray topOfMount(QByteArray path, const MountIdentity& mount) {
    while (path.size() > 1) {
        const QByteArray parent = path.first(qMax<qsizetype>(path.lastIndexOf('/'), 1));
        if (mountOf(AT_FDCWD, parent.constData()) != mount)
            break;
        path = parent;
    }
    return path;
}

/// ".Trash/<uid>" where the administrator provides for it: a real folder with the sticky bit.
std::optional<TrashCan> sharedTrash(int top, const QByteArray& topFolder, const QByteArray& user) {
    const ScopedFileDescriptor shared(::openat(top, ".Trash", folderFlags | O_NOFOLLOW));
    struct stat s {};
    if (!shared.isValid() || ::fstat(shared.get(), &s) != 0 || (s.st_mode & S_ISVTX) == 0)
        return std::nullopt;
    return openCan(openOrMake(shared.get(), user.constData(), Links::refused), topFolder + "/.Trash/" + user,
                   topFolder);
}

std::optional<TrashCan> volumeTrash(const QByteArray& topFolder) {
    const ScopedFileDescriptor top(::open(topFolder.constData(), folderFlags));
    if (!top.isValid())
        return std::nullopt;
    const QByteArray user = QByteArray::number(::getuid());
    const QByteArray prefix = topFolder == "/" ? QByteArray() : topFolder;
    if (auto can = sharedTrash(top.get(), prefix, user))
        return can;
    ScopedFileDescriptor own = openOrMake(top.get(), (".Trash-" + user).constData(), Links::refused);
    struct stat s {};
    if (!own.isValid() || ::fstat(own.get(), &s) != 0 || s.st_uid != ::getuid())
        return std::nullopt;
    return openCan(std::move(own), prefix + "/.Trash-" + user, prefix);
}

QByteArray information(const QByteArray& restorePath) {
    return "[Trash Info]\nPath=" + restorePath.toPercentEncoding("/") +
           "\nDeletionDate=" + QDateTime::currentDateTime().toString(u"yyyy-MM-ddThh:mm:ss").toLatin1() +
           '\n';
}

/// Creates the information file, whole and on the disk, or nothing. Fails with EEXIST where the name is
/// taken.
bool createInformation(int folder, const QByteArray& name, const QByteArray& content) {
    ScopedFileDescriptor file(
        ::openat(folder, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.isValid())
        return false;
    if (writeWhole(file.get(), content) && ::fsync(file.get()) == 0 && ::fsync(folder) == 0)
        return true;
    const int error = errno;
    ::unlinkat(folder, name.constData(), 0);
    errno = error;
    return false;
}

/// A rename that replaces nothing, also where the file system does not know how (EINVAL): then it looks
/// first.
bool renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to) {
    if (::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    struct stat s {};
    if (::fstatat(toFolder, to, &s, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::renameat(fromFolder, from, toFolder, to) == 0;
}

/// The `attempt`th name to try: "a.jpg", "a.2.jpg", "a.3.jpg" …, short enough for its information file.
QByteArray candidateName(const QByteArray& name, int attempt) {
    const QByteArray number = attempt == 1 ? QByteArray() : '.' + QByteArray::number(attempt);
    const qsizetype dot = name.lastIndexOf('.');
    QByteArray extension = dot > 0 ? name.sliced(dot) : QByteArray();
    if (extension.size() > 32)
        extension.clear();
    QByteArray stem = name.first(name.size() - extension.size());
    stem.truncate(longestName - infoSuffix.size() - number.size() - extension.size());
    return stem + number + extension;
}

TrashResult moveInto(const TrashCan& can, int sourceFolder, const QByteArray& name,
                     const QByteArray& restorePath, const QString& originalPath) {
    constexpr int mostAttempts = 100000;
    const QByteArray content = information(restorePath);
    for (int attempt = 1; attempt <= mostAttempts; ++attempt) {
        const QByteArray candidate = candidateName(name, attempt);
        const QByteArray infoName = candidate + infoSuffix;
        if (!createInformation(can.info.get(), infoName, content)) {
            if (errno == EEXIST)
                continue;
            return failure("the information file could not be written");
        }
        if (renameWithoutReplacing(sourceFolder, name.constData(), can.files.get(), candidate.constData()))
            return TrashedItem{originalPath, pathFromBytes(can.folder), candidate};
        const int error = errno;
        ::unlinkat(can.info.get(), infoName.constData(), 0);
        if (error != EEXIST)
            return failure("the file could not be moved", error);
    }
    return failure("no free name in the trash", EEXIST);
}

/// The folder of `path` with all links resolved; empty when there is none.
QByteArray realFolderOf(const QString& path) {
    const QByteArray folder = bytesFromPath(pathByDeletingLastComponent(path));
    char* real = ::realpath(folder.isEmpty() ? "." : folder.constData(), nullptr);
    QByteArray result(real);
    std::free(real);
    return result;
}

bool isBelow(const QByteArray& path, const QByteArray& folder) {
    return isBelowFolder(pathFromBytes(path), pathFromBytes(folder));
}

}  // namespace

QString TrashedItem::trashedPath() const {
    return trashFolder + QStringLiteral("/files/") + pathFromBytes(name);
}

QString TrashedItem::infoPath() const {
    return trashFolder + QStringLiteral("/info/") + pathFromBytes(name + infoSuffix);
}

TrashResult moveToTrash(const QString& path) {
    const QByteArray folder = realFolderOf(path);
    const QByteArray name = bytesFromPath(lastPathComponent(path));
    if (folder.isEmpty())
        return failure("its folder is not there");
    if (name.isEmpty() || name == "/" || name == "." || name == "..")
        return failure("it has no name of its own", EINVAL);
    const ScopedFileDescriptor source(::open(folder.constData(), folderFlags));
    if (!source.isValid())
        return failure("its folder could not be opened");
    const auto mount = mountOf(source.get(), name.constData());
    if (!mount)
        return failure("it is not there");
    const QByteArray absolute = (folder == "/" ? QByteArray() : folder) + '/' + name;

    const auto home = homeTrash();
    if (home && mountOf(home->files.get(), "") == mount) {
        if (isBelow(absolute, home->folder))
            return failure("it is in the trash already", EINVAL);
        return moveInto(*home, source.get(), name, absolute, path);
    }
    const QByteArray top = topOfMount(folder, *mount);
    const auto can = volumeTrash(top);
    if (!can)
        return failure("its volume has no usable trash", errno == 0 ? EACCES : errno);
    if (isBelow(absolute, can->folder))
        return failure("it is in the trash already", EINVAL);
    return moveInto(*can, source.get(), name, absolute.sliced(can->topFolder.size() + 1), path);
}

void syncMoves(const std::vector<TrashedItem>& items) {
    // The targets first: until they are on the disk, the old folders there had better still name the files.
    std::set<QByteArray> targets;
    std::set<QByteArray> sources;
    for (const TrashedItem& item : items) {
        targets.insert(bytesFromPath(item.trashFolder) + "/files");
        sources.insert(bytesFromPath(pathByDeletingLastComponent(item.originalPath)));
    }
    for (const auto* folders : {&targets, &sources})
        for (const QByteArray& path : *folders)
            if (const ScopedFileDescriptor folder(::open(path.constData(), folderFlags)); folder.isValid())
                ::fsync(folder.get());
}

std::variant<std::monostate, TrashFailure> restoreFromTrash(const TrashedItem& item) {
    const QByteArray folder = bytesFromPath(pathByDeletingLastComponent(item.originalPath));
    const QByteArray name = bytesFromPath(lastPathComponent(item.originalPath));
    const QByteArray trash = bytesFromPath(item.trashFolder);
    const ScopedFileDescriptor target(::open(folder.constData(), folderFlags));
    const ScopedFileDescriptor files(::open((trash + "/files").constData(), folderFlags));
    if (!target.isValid() || !files.isValid())
        return failure(target.isValid() ? "the trash could not be opened" : "its old folder is not there");
    if (!renameWithoutReplacing(files.get(), item.name.constData(), target.get(), name.constData()))
        return failure("it could not be moved back");
    ::fsync(target.get());
    ::unlink(bytesFromPath(item.infoPath()).constData());
    return std::monostate{};
}

}  // namespace platform
