// SPDX-License-Identifier: GPL-3.0-or-later
// What the desktop hands to the program: names, mounts, shared thumbnails, the trash.
#include "fuzz/Target.h"
#include "platform/desktop/Trash.h"
#include "platform/desktop/Volumes.h"
#include "platform/imaging/PngFile.h"
#include "platform/imaging/ThumbnailStore.h"
#include "platform/MountTable.h"
#include "platform/PathBytes.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QDir>
#include <QImageReader>
#include <QTemporaryDir>

using fuzzing::require;
using namespace platform;

namespace {

std::vector<QByteArray> pathSeeds() {
    return {"/home/anna/Bilder/\xc3\xa4.jpg", "/a/b\xff\xfe/c", "/\xed\xb2\x80/\xf4\x90\x80\x80", "a//b/",
            "file:///tmp/%C3%A4%FF"};
}

void examinePath(const QByteArray& bytes) {
    const QString path = pathFromBytes(bytes);
    require(bytesFromPath(path) == bytes, "a path's bytes come back");
    for (const QChar character : displayablePath(path))
        require(character.category() != QChar::Other_Control, "a shown path holds no control characters");
    const QString folder = pathByDeletingLastComponent(path);
    const QString name = lastPathComponent(path);
    require(!name.contains(u'/') || name == u"/", "a name holds no slash");
    pathByAppending(folder, name);
    pathFromFileUri(bytes);
    if (bytes.contains('\0') || !path.startsWith(u'/'))
        return;
    require(bytesFromPath(pathFromFileUri(fileUriFromPath(path))) == bytes, "a path survives as an address");
    require(isBelowFolder(path, QStringLiteral("/")), "all lies below the root");
}

std::vector<QByteArray> mountSeeds() {
    return {
        "36 35 98:0 / / rw,noatime master:1 - ext3 /dev/root rw\n"
        "37 36 8:17 / /media/anna/My\\040Card rw,x-gvfs-show,x-gvfs-name=My%20Card - vfat /dev/sdb1 rw\n",
        "1 2 3 4 /a\\134\\012 x-gvfs-hide"};
}

/// The text is a table, and its every field and option is one of a mount as well.
void examineMounts(const QByteArray& bytes) {
    const auto folders = mountFoldersFromTable(bytes);
    for (const QString& folder : folders)
        require(mountFolderOfPath(folders, folder).size() >= folder.size() || folder.endsWith(u'/'),
                "a mount's folder lies in itself");
    QList<MountEntry> table;
    for (const QByteArray& field : bytes.split(' '))
        table.append({pathFromBytes(field), field, field, field.size() % 2 == 0});
    const auto volumes = visibleVolumes(table, {{bytes, QStringLiteral("label")}});
    require(!volumes.isEmpty() && volumes.first().path == u"/", "the root comes first");
}

std::vector<QByteArray> thumbnailSeeds() {
    return {QByteArray("\x04\x03Thumb::URI\0file:///home/anna/a.jpg\0Thumb::MTime\0"
                       "1600000000",
                       58),
            QByteArray("\x01\x01K\0V", 5)};
}

/// The first two bytes are a size, then come keys and values. What was written is read again by the toolkit's
/// own reader, and offered to the store as a thumbnail of somebody's making.
void examineThumbnail(const QByteArray& bytes) {
    if (bytes.size() < 2)
        return;
    const QList<QByteArray> parts = bytes.mid(2).split('\0');
    std::vector<PngText> texts;
    QHash<QByteArray, QByteArray> byKey;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        if (parts[i].isEmpty() || parts[i].size() > 79)
            continue;
        texts.emplace_back(parts[i], parts[i + 1]);
        byKey.insert(parts[i], parts[i + 1]);
    }
    QImage image((bytes[0] & 31) + 1, (bytes[1] & 31) + 1,
                 (bytes[0] & 32) != 0 ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    image.fill(QColor(200, 100, 50));
    QByteArray png = pngWithTexts(image, texts);
    QBuffer buffer(&png);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    const QImage again = reader.read();
    require(again.size() == image.size() && again.pixelColor(0, 0) == image.pixelColor(0, 0),
            "a written picture can be read");

    static const QTemporaryDir folder;
    const ThumbnailStore store(folder.path());
    const ThumbnailStore::Original original{QStringLiteral("/home/anna/a.jpg"), "file:///home/anna/a.jpg",
                                            1'600'000'000, 5};
    const QString path = store.thumbnailPath(original.uri, 256);
    QDir().mkpath(pathByDeletingLastComponent(path));
    QFile(path).open(QIODevice::WriteOnly);
    const auto found = store.find(original, 200, [&](int) {
        DecodedPicture picture;
        picture.image = image;
        picture.texts = byKey;
        return picture;
    });
    require(found.has_value() ==
                (byKey.value("Thumb::URI") == original.uri && byKey.value("Thumb::MTime") == "1600000000" &&
                 (byKey.value("Thumb::Size").isEmpty() || byKey.value("Thumb::Size") == "5")),
            "a thumbnail serves for the file that it names");
}

std::vector<QByteArray> trashSeeds() {
    return {"a.jpg", "100% \xc3\xa4.jpg", "line\nPath=/etc/passwd", "\xff\xfe", QByteArray(255, 'x')};
}

/// The bytes are a file's name; its information must lead back to it, read by the desktop's own reader.
void examineTrash(const QByteArray& bytes) {
    QByteArray name = bytes.left(255);
    name.replace('/', '_').replace('\0', '_');
    if (name.isEmpty() || name == "." || name == "..")
        return;
    static const QTemporaryDir home;
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path()) + "/data");
    const QString folder = home.filePath(QStringLiteral("pictures"));
    QDir().mkpath(folder);
    const QByteArray path = bytesFromPath(folder) + '/' + name;
    const ScopedFileDescriptor file(::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    require(file.isValid(), "the test's file can be made");
    const auto result = moveToTrash(pathFromBytes(path));
    const auto* item = std::get_if<TrashedItem>(&result);
    require(item != nullptr, "a file can be moved to the trash");
    GKeyFile* information = g_key_file_new();
    require(g_key_file_load_from_file(information, bytesFromPath(item->infoPath()).constData(),
                                      G_KEY_FILE_NONE, nullptr) != FALSE,
            "a trashed file's information can be read");
    char* escaped = g_key_file_get_string(information, "Trash Info", "Path", nullptr);
    char* plain = g_uri_unescape_string(escaped, nullptr);
    char* real = ::realpath(QFile::encodeName(folder).constData(), nullptr);
    require(plain != nullptr && QByteArray(plain) == QByteArray(real) + '/' + name,
            "a trashed file's information leads back to it");
    std::free(real);
    g_free(plain);
    g_free(escaped);
    g_key_file_free(information);
    require(restoreFromTrash(*item).index() == 0, "a trashed file can be had back");
    require(::unlink(path.constData()) == 0, "a restored file is where it was");
}

const fuzzing::Target path("path", pathSeeds, examinePath);
const fuzzing::Target mounts("mounts", mountSeeds, examineMounts);
const fuzzing::Target thumbnail("thumbnail", thumbnailSeeds, examineThumbnail);
const fuzzing::Target trash("trash", trashSeeds, examineTrash);

}  // namespace
