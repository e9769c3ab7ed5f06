// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindowInterface.h"

#include "app/NextPaint.h"
#include "app/PictureCommands.h"
#include "app/StatusMessage.h"
#include "app/Texts.h"
#include "app/ZoomSlider.h"
#include "images/ImageLoad.h"
#include "platform/desktop/Bundle.h"
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Workspace.h"
#include "platform/FolderReader.h"
#include "platform/Guard.h"
#include "platform/imaging/DecoderProcess.h"
#include "platform/imaging/DecodeThreads.h"
#include "platform/PathBytes.h"
#include "platform/views/ImageBrowserView.h"
#include "platform/views/OutlineView.h"
#include "platform/views/TableView.h"
#include "settings/TavlinPreferencesWindowController.h"
#include "ui/TavlinAboutWindowController.h"
#include "viewer/ImageWindow.h"
#include "viewer/ImageWindowController.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QSignalBlocker>
#include <QTimer>

#include <chrono>

#include <utility>

Q_LOGGING_CATEGORY(stateCategory, "tavlin.state")

namespace {

using namespace std::chrono_literals;

/// The bus, and the scripts, which list themselves by shell commands, wait for the first pictures no longer
/// than this.
constexpr auto restWaitsAtMost = 400ms;
/// What waits for the first frame waits no longer than this.
constexpr auto firstFrameWaitAtMost = 1500ms;

/// That all decoders together may take to let go of a volume's files.
constexpr auto patienceAtRelease = 40ms;

/// Whether a folder may be at the path: a place that does not answer in time may well hold it.
bool mayBeFolder(const QString& path) {
    const auto contents = platform::FolderReader::shared().contents(path, platform::FolderDetail::status);
    return !contents || contents->isFolder;
}

QString firstFolder() {
    const QString pictures = platform::picturesFolder();
    return mayBeFolder(pictures) ? pictures : platform::homeFolder();
}

/// Whether a folder's names can be read; not so of one that does not answer in time.
bool isListed(const QString& path) {
    const auto contents = platform::FolderReader::shared().contents(path, platform::FolderDetail::subfolders);
    return contents && contents->isListed;
}

/// Names the windows that the program opens, before the menus are made.
void addInterfaceDescriptions() {
    using platform::WindowRequest;
    auto& descriptions = platform::InterfaceDescriptions::shared();
    descriptions.add(QStringLiteral("PreferencesWindow"), [](const WindowRequest& request) {
        return std::make_unique<TavlinPreferencesWindowController>(request.windowNibName);
    });
    descriptions.add(QStringLiteral("ImageWindow"), [](const WindowRequest& request) {
        return std::make_unique<ImageWindowController>(request.windowNibName, request.sender,
                                                       request.imagePath,
                                                       qobject_cast<const ImageWindow*>(request.inPlaceOf));
    });
    descriptions.add(QStringLiteral("AboutWindow"), [](const WindowRequest& request) {
        return std::make_unique<TavlinAboutWindowController>(request.windowNibName, request.sender);
    });
}

}  // namespace

std::unique_ptr<platform::MainInterface> MainWindowInterface::load() {
    const QString decoder = platform::Bundle::mainBundle().libexecPath() + QStringLiteral("/tavlin-decoder");
    platform::DecoderProcess::setInstalledProgram(decoder);
    addInterfaceDescriptions();
    return std::unique_ptr<MainWindowInterface>(new MainWindowInterface);
}

MainWindowInterface::MainWindowInterface()
    : _commands({_window, _delegate, _places, _images, _scripts, _imageWindows}),
      _pathsOpener(_places, _images, _imageWindows) {
    connectOutlets();
    connectZoom();
    connectStatus();
    connectVolumes();
    _commands.fillMenu(_menu);
    _menu.attachTo(_window);
}

void MainWindowInterface::connectOutlets() {
    platform::OutlineView& outline = _window.outline();
    platform::ImageBrowserView& grid = _window.grid();

    _delegate.window = &_window;
    _delegate.fileBrowserOutline = &outline;
    _delegate.scriptsTableView = &_window.scriptsTable();
    _delegate.imageBrowserView = &grid;
    _delegate.imageBrowserDataSource = &_images;
    _delegate.fileBrowserDataSource = &_places;
    _delegate.scriptsBrowserDataSource = &_scripts;
    _delegate.notificationBridge = &_notifications;

    _places.setImageBrowserDataSource(&_images);
    _places.setFileBrowserOutlineView(&outline);
    outline.setDataSource(&_places);
    outline.setDelegate(&_places);

    _images.setImageBrowserView(&grid);
    _images.setImageBrowserSizeSlider(&_window.zoomSlider());
    _images.setScriptsTableView(&_window.scriptsTable());
    _images.setFileBrowserOutlineView(&outline);
    _images.setFileBrowserDataSource(&_places);
    _images.setImageWindowOpener([this](const QString& nibName, ImageBrowserDataSource& sender,
                                        const QString& path) { _imageWindows.open(nibName, sender, path); });
    grid.setDataSource(&_images);
    grid.setBrowserDelegate(&_images);
    grid.setThumbnailQueue(&_thumbnails);
    grid.setIconProvider(
        [](const QString& path) { return platform::Workspace::sharedWorkspace().iconForFile(path)->icon(); });
    QObject::connect(&platform::Workspace::sharedWorkspace(), &platform::Workspace::iconArrived, &grid,
                     [&grid](const QString& path, const platform::ImageRef& icon) {
                         grid.replaceIcon(path, icon->icon());
                     });

    _scripts.setScriptsTableView(&_window.scriptsTable());
    _scripts.setMainWindow(&_window);
    _scripts.setImageBrowserDataSource(&_images);
    _scripts.setRunObservers([this](const QString& name) { _window.showScriptRunning(name); },
                             [this](const QString& name, int status, const QString& errors) {
                                 _window.showMessage(scriptEndedMessage(name, status, errors));
                                 // The grid shows what the script made once the run is over.
                                 QMetaObject::invokeMethod(&_commands, &BrowserCommands::reloadFolder,
                                                           Qt::QueuedConnection);
                             });

    QObject::connect(&_images, &ImageBrowserDataSource::folderEntered, &_window,
                     [this](const QString& path) { followIntoFolder(path); });
    QObject::connect(&_window.scriptsTable(), &platform::TableView::contextMenuAsked, &_commands,
                     &BrowserCommands::showScriptMenu);
    QObject::connect(&grid, &platform::ImageBrowserView::contextMenuAsked, &_commands,
                     [this](QPoint position) { _commands.showGridMenu(_menu, position); });
}

void MainWindowInterface::connectZoom() {
    ZoomSlider& slider = _window.zoomSlider();
    QObject::connect(&slider, &ZoomSlider::valueChanged, &_images,
                     [this, &slider] { _images.zoomSliderDidChange(slider); });
    QObject::connect(&_window.grid(), &platform::ImageBrowserView::zoomValueChanged, &slider,
                     [&slider](float zoom) {
                         const QSignalBlocker blocker(slider);
                         slider.setFloatValue(zoom);
                     });
    QObject::connect(&_window, &MainWindow::zoomInAsked, &_commands, &BrowserCommands::zoomIn);
    QObject::connect(&_window, &MainWindow::zoomOutAsked, &_commands, &BrowserCommands::zoomOut);
}

void MainWindowInterface::connectStatus() {
    QObject::connect(&_images, &ImageBrowserDataSource::itemsChanged, &_window,
                     [this] { showWhatIsShown(); });
    QObject::connect(&_images, &ImageBrowserDataSource::removalsChanged, &_window, &MainWindow::clearMessage);
    QObject::connect(&_images, &ImageBrowserDataSource::restoringFailed, &_window,
                     [this](const auto& files) { _window.showMessage(notRestoredMessage(files)); });
    QObject::connect(&_images, &ImageBrowserDataSource::loadingChanged, &_window, &MainWindow::setLoading);
    QObject::connect(&_images, &ImageBrowserDataSource::numberFoundChanged, &_window,
                     &MainWindow::setNumberFound);
    QObject::connect(&_window.grid(), &platform::ImageBrowserView::selectionCountChanged, &_window,
                     &MainWindow::setSelectionCount);
    QObject::connect(&_window.grid(), &platform::ImageBrowserView::selectedAnew, &_window,
                     &MainWindow::clearMessage);
    QObject::connect(&platform::Workspace::sharedWorkspace(), &platform::Workspace::openingFailed, &_window,
                     [this] {
                         _window.showMessage({text("MainWindowStatusOpeningFailed"), {}});
                     });
}

/// That may be another folder than the selected one, which is still being loaded, or has no row for it.
void MainWindowInterface::showWhatIsShown() {
    _window.setItemCount(_images.numberOfImages());
    const QString folder = _images.shownPath().value_or(QString());
    const FileSystemItem* place = _commands.selectedPlace();
    const bool isSelected = place != nullptr && place->fullPath() == folder;
    const QString name = isSelected ? place->name() : platform::lastPathComponent(folder);
    _window.setShownFolder(folder, platform::displayablePath(name));
    if (!folder.isNull() && _images.numberOfImages() == 0)
        _window.setEmptyReason(isListed(folder) ? EmptyReason::nothingInIt : EmptyReason::unreadable);
}

/// A folder that was made since its own folder was listed has no row yet when it is entered.
void MainWindowInterface::followIntoFolder(const QString& path) {
    const FileSystemItem* place = _commands.selectedPlace();
    if (place == nullptr || place->fullPath() != path)
        _places.revealFolder(path, place);
}

/// Before the delegate's own handlers, which are connected at the launch.
void MainWindowInterface::connectVolumes() {
    using platform::Workspace;
    const auto release = [this](const QString& path) {
        const auto deadline = std::chrono::steady_clock::now() + patienceAtRelease;
        _thumbnails.releaseFilesBelow(path, deadline);
        platform::DecodeThreads::releaseFilesBelow(path, deadline);
        _images.abandonLoadBelow(path);
    };
    const Workspace& workspace = Workspace::sharedWorkspace();
    QObject::connect(&workspace, &Workspace::willUnmount, &_images, release);
    QObject::connect(&workspace, &Workspace::didUnmount, &_images, release);
}

void MainWindowInterface::restoreState() {
    const WindowState state = WindowState::read(WindowState::defaultFilePath());
    _window.restore(state);
    _commands.pictures().setMetadataWidth(state.metadataWidth);
    _lastFolder = state.folder;
}

void MainWindowInterface::saveState() {
    WindowState state = _window.state();
    const FileSystemItem* place = _commands.selectedPlace();
    state.folder = place == nullptr ? _lastFolder : place->fullPath();
    state.metadataWidth = _commands.pictures().metadataWidth();
    if (!state.write(WindowState::defaultFilePath()))
        qCWarning(stateCategory, "the window's state could not be kept");
}

void MainWindowInterface::awake() {
    _images.awakeFromNib();
    new NextPaint(_window, [this] { comeToLife(); });
    // Minimised, it is not painted.
    QTimer::singleShot(firstFrameWaitAtMost, &_window, [this] { comeToLife(); });
    QObject::connect(
        &_thumbnails, &platform::ThumbnailQueue::visibleAnswered, &_window,
        [this] { new NextPaint(*_window.grid().viewport(), [this] { wakeRest(); }); },
        Qt::SingleShotConnection);
}

void MainWindowInterface::comeToLife() {
    if (std::exchange(_isAlive, true))
        return;
    _thumbnails.warmUp();
    QGuiApplication::setWindowIcon(platform::Bundle::mainBundle().applicationIcon());
    QTimer::singleShot(restWaitsAtMost, &_window, [this] { wakeRest(); });
}

void MainWindowInterface::wakeRest() {
    if (std::exchange(_isRestAwake, true))
        return;
    _notifications.connectToService();
    platform::guarded("awakeFromNib", [this] {
        _window.scriptsTable().setDataSource(&_scripts);
        _scripts.awakeFromNib();
    });
}

void MainWindowInterface::openPaths(const QStringList& paths) {
    const bool isFirst = std::exchange(_isFirstOpening, false);
    if (_pathsOpener.open(paths) || !isFirst)
        return;
    const bool isLastThere = !_lastFolder.isNull() && mayBeFolder(_lastFolder);
    _places.revealFolder(isLastThere ? _lastFolder : firstFolder());
}

bool MainWindowInterface::hasDetachedWork() const {
    return ImageLoad::numberRunning() > 0;
}
