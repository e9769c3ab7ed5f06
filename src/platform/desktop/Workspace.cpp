// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Workspace.h"

#include "platform/desktop/CopiedFiles.h"
#include "platform/desktop/FileManager.h"
#include "platform/desktop/Recycler.h"
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/VolumeMonitor.h"
#include "platform/FolderReader.h"
#include "platform/MountTable.h"
#include "platform/PathBytes.h"

#include <gio/gio.h>

#include <QClipboard>
#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QHash>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <cerrno>

/// Qt wants this outside of every namespace.
static void initializeFallbackIcons() {
    Q_INIT_RESOURCE(fallbackicons);
}

namespace platform {

namespace {

Q_LOGGING_CATEGORY(workspaceLog, "tavlin.workspace")

constexpr QSizeF iconSize(32, 32);

/// Names in the desktop's icon theme (freedesktop Icon Naming Specification), the best first, and the
/// program's own icon where the theme has none of them.
struct IconNames {
    QStringList themeNames;
    QString fallback;
};

const QString folderFallback = QStringLiteral("folder");
const QString fileFallback = QStringLiteral("file");
const QString imageFallback = QStringLiteral("image");
const QString computerFallback = QStringLiteral("computer");
const QString volumeFallback = QStringLiteral("volume");

IconNames folderIcon(const QString& specialName = {}) {
    const QString plain = QStringLiteral("folder");
    return {specialName.isEmpty() ? QStringList{plain} : QStringList{specialName, plain}, folderFallback};
}

QStringList namesOfIcon(GIcon* icon) {
    QStringList names;
    if (icon != nullptr && G_IS_THEMED_ICON(icon)) {
        for (const char* const* name = g_themed_icon_get_names(G_THEMED_ICON(icon)); *name != nullptr; ++name)
            names.append(QString::fromUtf8(*name));
    }
    return names;
}

IconNames contentTypeIcon(const char* contentType) {
    GIcon* icon = g_content_type_get_icon(contentType);
    IconNames names{namesOfIcon(icon), fileFallback};
    g_clear_object(&icon);
    const QString generic = QStringLiteral("image-x-generic");
    if (names.themeNames.contains(generic) || g_content_type_is_a(contentType, "image/*") != FALSE)
        names.fallback = imageFallback;
    else
        names.themeNames.append(QStringLiteral("text-x-generic"));
    return names;
}

IconNames fileNameIcon(const QString& name) {
    char* contentType = g_content_type_guess(bytesFromPath(name).constData(), nullptr, 0, nullptr);
    IconNames names = contentTypeIcon(contentType);
    g_free(contentType);
    return names;
}

QString removableVolumeName(const QString& mountFolder) {
    const bool isRemovable = mountFolder.startsWith(u"/media/") || mountFolder.startsWith(u"/run/media/");
    return isRemovable ? QStringLiteral("drive-removable-media") : QStringLiteral("drive-harddisk");
}

/// Without a desktop Qt's theme is one that has no icons, and themes may not even be looked for where they
/// are installed: the first one with a folder is taken.
void chooseThemeWithFolders() {
    const QString folder = QStringLiteral("folder");
    if (!QIcon::fromTheme(folder).isNull())
        return;
    const QString original = QIcon::themeName();
    QStringList searchPaths =
        QIcon::themeSearchPaths() + QStandardPaths::locateAll(QStandardPaths::GenericDataLocation,
                                                              QStringLiteral("icons"),
                                                              QStandardPaths::LocateDirectory);
    searchPaths.removeDuplicates();
    QIcon::setThemeSearchPaths(searchPaths);
    QStringList candidates{QStringLiteral("Adwaita"), QStringLiteral("breeze"), QStringLiteral("Papirus"),
                           QStringLiteral("gnome"), QStringLiteral("oxygen")};
    for (const QString& searchPath : searchPaths)
        candidates += QDir(searchPath).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& candidate : candidates) {
        QIcon::setThemeName(candidate);
        if (!QIcon::fromTheme(folder).isNull())
            return;
    }
    QIcon::setThemeName(original);
    qCInfo(workspaceLog, "No installed icon theme has a folder; the program's own icons are used.");
}

/// The user's own folders that have an icon of their own.
QHash<QString, QString> specialFolders() {
    constexpr std::array<std::pair<QStandardPaths::StandardLocation, const char*>, 5> locations{{
        {QStandardPaths::DesktopLocation, "user-desktop"},
        {QStandardPaths::DocumentsLocation, "folder-documents"},
        {QStandardPaths::DownloadLocation, "folder-download"},
        {QStandardPaths::MusicLocation, "folder-music"},
        {QStandardPaths::MoviesLocation, "folder-videos"},
    }};
    QHash<QString, QString> folders;
    for (const auto& [location, iconName] : locations)
        folders.insert(QStandardPaths::writableLocation(location), QString::fromLatin1(iconName));
    folders.insert(picturesFolder(), QStringLiteral("folder-pictures"));
    folders.insert(homeFolder(), QStringLiteral("user-home"));
    return folders;
}

}  // namespace

struct Workspace::Private {
    QHash<QString, QIcon> icons;
    QHash<QString, QString> folderIconNames = specialFolders();
    MountTable mounts;
    Recycler recycler;
    std::unique_ptr<VolumeMonitor> volumes;                                   ///< while they are watched
    const std::shared_ptr<const void> lateAnswers = std::make_shared<int>();  ///< their owner

    ImageRef image(const IconNames& names);
    bool isMountFolder(const QString& path);
};

ImageRef Workspace::Private::image(const IconNames& names) {
    const QString key = names.themeNames.join(u'\n');
    auto icon = icons.find(key);
    if (icon == icons.end()) {
        icon = icons.insert(key, QIcon());
        for (qsizetype i = 0; i < names.themeNames.size() && icon->isNull(); ++i)
            *icon = QIcon::fromTheme(names.themeNames[i]);
        if (icon->isNull())
            *icon = QIcon(QStringLiteral(":/tavlin/icons/%1.svg").arg(names.fallback));
    }
    return std::make_shared<Image>(*icon, iconSize, names.themeNames.value(0));
}

bool Workspace::Private::isMountFolder(const QString& path) {
    const std::vector<QString>& folders = mounts.mountFolders();
    return std::find(folders.begin(), folders.end(), path) != folders.end();
}

Workspace& Workspace::sharedWorkspace() {
    static Workspace* workspace =
        new Workspace;  // never destroyed: pictures must not outlive the application
    return *workspace;
}

Workspace::Workspace() {
    initializeFallbackIcons();
    chooseThemeWithFolders();
    _d = std::make_unique<Private>();
}

Workspace::~Workspace() = default;

ImageRef Workspace::iconForFile(const QString& path, FileKind kind) {
    const auto special = _d->folderIconNames.constFind(path);
    if (special != _d->folderIconNames.constEnd())
        return _d->image(folderIcon(*special));
    if (path == u"/" || _d->isMountFolder(path))
        return _d->image({{removableVolumeName(path), QStringLiteral("drive-harddisk")}, volumeFallback});
    if (kind == FileKind::unknown) {
        const auto tellLate = [this, path](const FolderContents& status) {
            if (status.isFolder)
                Q_EMIT iconArrived(path, iconForFile(path, FileKind::folder));
        };
        const auto status =
            FolderReader::shared().contents(path, FolderDetail::status, {_d->lateAnswers, tellLate});
        kind = status && status->isFolder ? FileKind::folder : FileKind::notFolder;
    }
    return _d->image(kind == FileKind::folder ? folderIcon() : fileNameIcon(lastPathComponent(path)));
}

ImageRef Workspace::iconForFileType(const QString& type) {
    if (type == u"fldr")
        return _d->image(folderIcon());
    if (type == u"gurl")
        return _d->image({{QStringLiteral("applications-internet"), QStringLiteral("web-browser"),
                           QStringLiteral("text-html")},
                          fileFallback});
    if (type.contains(u'/'))
        return _d->image(contentTypeIcon(type.toUtf8().constData()));
    return _d->image(fileNameIcon(QStringLiteral("name.") + type));
}

ImageRef Workspace::imageNamed(const QString& name) {
    if (name == u"NSComputer")
        return _d->image({{QStringLiteral("computer")}, computerFallback});
    return nullptr;
}

bool Workspace::openUrl(const QUrl& url) {
    if (url.isLocalFile()) {
        openFile(url.toEncoded());
        return true;
    }
    const QByteArray scheme = url.scheme().toUtf8();
    GAppInfo* program = g_app_info_get_default_for_uri_scheme(scheme.constData());
    if (program == nullptr) {
        qCWarning(workspaceLog, "No program is set up for %s addresses.", scheme.constData());
        return false;
    }
    launch(program, {url.toEncoded()});
    g_object_unref(program);
    return true;
}

void Workspace::copyFiles(const QStringList& paths) {
    QGuiApplication::clipboard()->setMimeData(new CopiedFiles(paths));
}

void Workspace::showInFileManager(const QStringList& paths) {
    showItems(paths);
}

bool Workspace::performFileOperation(FileOperation /*operation*/, const QString& source,
                                     const QString& /*destination*/, const QStringList& files, int& tag) {
    const Recycler::Batch batch(_d->recycler);
    tag = 0;
    for (const QString& file : files) {
        const bool isName = !source.isEmpty() && !file.isEmpty() && !file.contains(u'/');
        const int result = isName ? _d->recycler.recycle(pathByAppending(source, file)) : -EINVAL;
        tag = result == 0 ? tag : result;
    }
    return tag == 0;
}

Recycler& Workspace::recycler() {
    return _d->recycler;
}

void Workspace::watchVolumes() {
    if (_d->volumes != nullptr)
        return;
    _d->volumes = std::make_unique<VolumeMonitor>();
    const VolumeMonitor* volumes = _d->volumes.get();
    connect(volumes, &VolumeMonitor::willUnmount, this, &Workspace::willUnmount);
    connect(volumes, &VolumeMonitor::didMount, this, &Workspace::didMount);
    connect(volumes, &VolumeMonitor::didUnmount, this, &Workspace::didUnmount);
    connect(volumes, &VolumeMonitor::didRename, this, &Workspace::didRenameVolume);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            [this] { _d->volumes.reset(); });
}

}  // namespace platform
