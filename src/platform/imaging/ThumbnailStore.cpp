// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailStore.h"

#include "platform/FileAccess.h"
#include "platform/imaging/PngFile.h"
#include "platform/PathBytes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <QCryptographicHash>
#include <QDir>
#include <QMimeDatabase>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>

namespace platform {

namespace {

struct SizeFolder {
    int size;
    QString name;
};

const std::array<SizeFolder, 4>& sizeFolders() {
    static const std::array<SizeFolder, 4> folders{{{128, QStringLiteral("normal")},
                                                    {256, QStringLiteral("large")},
                                                    {512, QStringLiteral("x-large")},
                                                    {1024, QStringLiteral("xx-large")}}};
    return folders;
}

constexpr std::int64_t settlingSeconds = 2;
constexpr char softwareName[] = "Tavlin " TAVLIN_VERSION;
constexpr char failureKey[] = "X-Tavlin::Failure";
constexpr qsizetype longestFailure = 1000;

bool isSettled(const ThumbnailStore::Original& original) {
    const std::int64_t age = std::time(nullptr) - original.modificationSeconds;
    return age < 0 || age > settlingSeconds;
}

bool describes(const QHash<QByteArray, QByteArray>& texts, const ThumbnailStore::Original& original) {
    const QByteArray size = texts.value(QByteArrayLiteral("Thumb::Size"));
    return texts.value(QByteArrayLiteral("Thumb::URI")) == original.uri &&
           texts.value(QByteArrayLiteral("Thumb::MTime")) ==
               QByteArray::number(static_cast<qlonglong>(original.modificationSeconds)) &&
           (size.isEmpty() || size == QByteArray::number(static_cast<qulonglong>(original.size)));
}

/// The stored file, if it is one and speaks of this version of the original.
std::optional<DecodedPicture> readValid(const QString& path, const ThumbnailStore::Original& original,
                                        const ThumbnailStore::Reader& reader) {
    const ScopedFileDescriptor file = openRegularFile(path);
    if (!file.isValid())
        return std::nullopt;
    DecodeResult result = reader(file.get());
    auto* picture = std::get_if<DecodedPicture>(&result);
    if (!picture || picture->image.isNull() || !describes(picture->texts, original))
        return std::nullopt;
    return std::move(*picture);
}

std::vector<PngText> textsOf(const ThumbnailStore::Original& original) {
    std::vector<PngText> texts{
        {QByteArrayLiteral("Thumb::URI"), original.uri},
        {QByteArrayLiteral("Thumb::MTime"),
         QByteArray::number(static_cast<qlonglong>(original.modificationSeconds))},
        {QByteArrayLiteral("Thumb::Size"), QByteArray::number(static_cast<qulonglong>(original.size))},
        {QByteArrayLiteral("Software"), QByteArray(softwareName)}};
    const QMimeType type =
        QMimeDatabase().mimeTypesForFileName(lastPathComponent(original.path)).value(0, QMimeType());
    if (type.isValid() && !type.isDefault())
        texts.emplace_back(QByteArrayLiteral("Thumb::Mimetype"), type.name().toLatin1());
    return texts;
}

/// Makes a folder and those above it, each for the user alone; leaves existing ones as they are.
bool makePrivateFolder(const QString& path) {
    const QByteArray bytes = bytesFromPath(path);
    if (::mkdir(bytes.constData(), 0700) == 0 || errno == EEXIST)
        return true;
    const QString parent = pathByDeletingLastComponent(path);
    return errno == ENOENT && parent != path && !parent.isEmpty() && makePrivateFolder(parent) &&
           (::mkdir(bytes.constData(), 0700) == 0 || errno == EEXIST);
}

/// Gives a file without a name this one; what has it goes, as it speaks of another version of its picture.
bool nameFile(int descriptor, const QByteArray& target) {
    const QByteArray source = "/proc/self/fd/" + QByteArray::number(descriptor);
    const auto linked = [&] {
        return ::linkat(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), AT_SYMLINK_FOLLOW) == 0;
    };
    return linked() || (errno == EEXIST && ::unlink(target.constData()) == 0 && linked());
}

/// Where files without a name cannot be had, or cannot be named. mkostemp makes the file readable by its
/// owner alone.
bool replaceByRename(const QByteArray& folder, const QByteArray& target, const QByteArray& bytes) {
    QByteArray temporary = folder + "/.tavlin-XXXXXX";
    ScopedFileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isValid())
        return false;
    const bool written = writeWhole(file.get(), bytes);
    const bool closed = ::close(file.release()) == 0;
    if (written && closed && ::rename(temporary.constData(), target.constData()) == 0)
        return true;
    ::unlink(temporary.constData());
    return false;
}

/// A file gets its name when it is whole: no reader ever meets half a file, and nothing is left of one where
/// the program ends amid the writing.
bool replaceFile(const QString& path, const std::function<QByteArray()>& content) {
    const QString folder = pathByDeletingLastComponent(path);
    if (!makePrivateFolder(folder))
        return false;
    const QByteArray folderBytes = bytesFromPath(folder);
    const ScopedFileDescriptor file(::open(folderBytes.constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    const bool hasUnnamed = file.isValid();
    if (!hasUnnamed && errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT && errno != EINVAL)
        return false;
    const QByteArray bytes = content();
    if (bytes.isEmpty())
        return false;
    if (hasUnnamed && writeWhole(file.get(), bytes) && nameFile(file.get(), bytesFromPath(path)))
        return true;
    return replaceByRename(folderBytes, bytesFromPath(path), bytes);
}

QByteArray realPathOf(const QByteArray& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.constData(), nullptr), &std::free);
    return real ? QByteArray(real.get()) : QByteArray();
}

}  // namespace

ThumbnailStore::ThumbnailStore(QString folder) : _folder(std::move(folder)) {
}

QString ThumbnailStore::defaultFolder() {
    const QString cache = pathFromBytes(qgetenv("XDG_CACHE_HOME"));
    if (cache.startsWith(u'/'))
        return pathByAppending(cache, QStringLiteral("thumbnails"));
    return pathByAppending(QDir::homePath(), QStringLiteral(".cache/thumbnails"));
}

int ThumbnailStore::storedSize(int pixelSize) {
    for (const SizeFolder& folder : sizeFolders())
        if (pixelSize <= folder.size)
            return folder.size;
    return largestSize;
}

QString ThumbnailStore::fileName(const QByteArray& uri) {
    return QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex()) +
           QStringLiteral(".png");
}

QString ThumbnailStore::thumbnailPath(const QByteArray& uri, int size) const {
    const auto& folders = sizeFolders();
    const auto folder =
        std::find_if(folders.begin(), folders.end(), [&](const SizeFolder& f) { return f.size == size; });
    Q_ASSERT(folder != folders.end());
    return pathByAppending(pathByAppending(_folder, folder->name), fileName(uri));
}

QString ThumbnailStore::failurePath(const QByteArray& uri) const {
    return pathByAppending(pathByAppending(_folder, QStringLiteral("fail/tavlin-" TAVLIN_VERSION)),
                           fileName(uri));
}

std::optional<ThumbnailStore::Original> ThumbnailStore::originalOf(const QString& path,
                                                                   int descriptor) const {
    const auto status = fileStatusOfDescriptor(descriptor);
    Original original{path, fileUriFromPath(path), 0, 0};
    if (!status || original.uri.isEmpty())
        return std::nullopt;
    const QByteArray own = realPathOf(bytesFromPath(_folder));
    const QByteArray real = realPathOf("/proc/self/fd/" + QByteArray::number(descriptor));
    if (!own.isEmpty() && real.startsWith(own + '/'))
        return std::nullopt;
    constexpr std::int64_t second = 1'000'000'000;
    const std::int64_t nanoseconds = status->modificationNanoseconds;
    original.modificationSeconds = nanoseconds / second - (nanoseconds % second < 0 ? 1 : 0);
    original.size = status->size;
    return original;
}

std::optional<ThumbnailStore::Stored> ThumbnailStore::find(const Original& original, int pixelSize,
                                                           const Reader& reader) const {
    for (const SizeFolder& folder : sizeFolders()) {
        if (folder.size < pixelSize)
            continue;
        const auto picture = readValid(thumbnailPath(original.uri, folder.size), original, reader);
        if (picture)
            return Stored{picture->image,
                          std::max(picture->image.width(), picture->image.height()) < folder.size};
    }
    return std::nullopt;
}

std::optional<QString> ThumbnailStore::findFailure(const Original& original, const Reader& reader) const {
    const auto picture = readValid(failurePath(original.uri), original, reader);
    if (!picture)
        return std::nullopt;
    return QString::fromUtf8(picture->texts.value(QByteArray(failureKey)));
}

bool ThumbnailStore::save(const Original& original, int size, const QImage& image, QSize fullSize) const {
    if (!isSettled(original) || std::max(fullSize.width(), fullSize.height()) <= size)
        return false;
    return replaceFile(thumbnailPath(original.uri, size), [&] {
        std::vector<PngText> texts = textsOf(original);
        texts.emplace_back(QByteArrayLiteral("Thumb::Image::Width"), QByteArray::number(fullSize.width()));
        texts.emplace_back(QByteArrayLiteral("Thumb::Image::Height"), QByteArray::number(fullSize.height()));
        return pngWithTexts(image, texts);
    });
}

bool ThumbnailStore::saveFailure(const Original& original, const QString& reason) const {
    if (!isSettled(original))
        return false;
    return replaceFile(failurePath(original.uri), [&] {
        QImage empty(1, 1, QImage::Format_ARGB32);
        empty.fill(Qt::transparent);
        std::vector<PngText> texts = textsOf(original);
        const QString shown = displayablePath(reason.left(longestFailure));
        texts.emplace_back(QByteArray(failureKey), shown.toLatin1());
        return pngWithTexts(empty, texts);
    });
}

}  // namespace platform
