// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Application.h"

#include "platform/DescriptorLimit.h"
#include "platform/desktop/Bundle.h"
#include "platform/desktop/CommandLine.h"
#include "platform/desktop/InstallPrefix.h"
#include "platform/desktop/MainMenu.h"
#include "platform/desktop/RunningInstance.h"
#include "platform/desktop/SessionBus.h"
#include "platform/desktop/SystemLog.h"
#include "platform/desktop/TerminationSignals.h"
#include "platform/desktop/UserDefaults.h"
#include "platform/desktop/WindowOrder.h"
#include "platform/Guard.h"
#include "platform/PathBytes.h"
#include "platform/TemporaryFolder.h"

#include <QApplication>
#include <QSessionManager>
#include <QTimer>
#include <QtPlugin>

#include <unistd.h>
#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>

Q_IMPORT_PLUGIN(PngReading)

namespace platform {

namespace {

using namespace std::chrono_literals;

Application* sharedApplication = nullptr;

constexpr int statusNoDisplay = 1;
constexpr int statusMisuse = 2;
constexpr int statusNoInterface = 1;
constexpr int statusNothingThere = 1;
/// A session that still runs this long after it announced its end has been called off.
constexpr auto sessionEndLasts = 60s;
/// The bus starts the program for a request, which it sends as soon as the program has its name.
constexpr auto requestComesWithin = 1s;

void print(std::FILE* stream, const QByteArray& text) {
    std::fputs(text.constData(), stream);
    std::fflush(stream);
}

/// What needs no display; nothing when the program is to run.
std::optional<int> answerWithoutDisplay(const CommandLine& commandLine, std::span<char* const> arguments) {
    switch (commandLine.request) {
        case CommandLine::Request::help:
            print(stdout, usageText());
            return EXIT_SUCCESS;
        case CommandLine::Request::version:
            print(stdout, "tavlin " TAVLIN_VERSION "\n");
            return EXIT_SUCCESS;
        case CommandLine::Request::misuse:
            print(stderr, "tavlin: " + commandLine.problem.toUtf8() + '\n' + usageText());
            return statusMisuse;
        case CommandLine::Request::run:
            break;
    }
    const auto isPlatformOption = [](const QByteArray& argument) {
        return argument == "-platform" || argument == "--platform";
    };
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") &&
        std::none_of(arguments.begin(), arguments.end(), isPlatformOption)) {
        print(stderr, "tavlin: there is no display (DISPLAY and WAYLAND_DISPLAY are not set)\n");
        return statusNoDisplay;
    }
    return std::nullopt;
}

/// Where the running program has been given the rest.
int endOfOtherStart(const QStringList& missing) {
    for (const QString& path : missing)
        print(stderr, nothingThereText(path));
    return missing.isEmpty() ? EXIT_SUCCESS : statusNothingThere;
}

QString currentFolder() {
    std::array<char, PATH_MAX> path{};
    return ::getcwd(path.data(), path.size()) != nullptr ? pathFromBytes(path.data()) : QStringLiteral("/");
}

/// A working folder would keep its volume from being unmounted.
void leaveCurrentFolder() {
    if (::chdir("/") != 0)
        print(stderr, "tavlin: the working folder could not be left\n");
}

/// The program's helpers come last on PATH, so that the system's own of the same name go before them. Called
/// before there is any thread, as setting the environment is not safe afterwards.
void putHelpersOnSearchPath() {
    const QByteArray searchPath = qgetenv("PATH");
    qputenv("PATH", (searchPath.isEmpty() ? QByteArray("/usr/local/bin:/usr/bin:/bin") : searchPath) + ':' +
                        bytesFromPath(installPrefix() + QStringLiteral("/libexec/tavlin")));
}

}  // namespace

struct Application::Private {
    std::unique_ptr<RunningInstance> instance;
    std::unique_ptr<MainInterface> interface;
    std::unique_ptr<WindowOrder> windowOrder;
    TerminationSignals signals_;
    bool hasOpened = false;      ///< a folder, in the places
    bool isTerminating = false;  ///< terminate() was called
    bool hasTerminated = false;  ///< the delegate has been told
    bool isValidationDue = false;

    ApplicationDelegate& delegate() const { return interface->delegate(); }
};

int Application::run(int argc, char** argv, const MainInterfaceFactory& mainInterface) {
    const std::span<char* const> all(argv, static_cast<std::size_t>(argc));
    const std::span<char* const> arguments = all.subspan(all.empty() ? 0 : 1);
    const CommandLine commandLine = CommandLine::parse(arguments, currentFolder());
    if (const auto status = answerWithoutDisplay(commandLine, arguments))
        return *status;
    leaveCurrentFolder();
    putHelpersOnSearchPath();
    raiseDescriptorLimit();
    QCoreApplication::setApplicationName(QStringLiteral("tavlin"));
    settleSessionBusAddress();
    installSystemLog();
    auto [instance, missing] = RunningInstance::become({commandLine.paths, ActivationToken::ofThisStart()});
    if (instance == nullptr)
        return endOfOtherStart(missing);

    // Menus belong to the windows here; asking for a global menu would wait for the bus before the first
    // frame.
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeMenuBar);
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVLIN_VERSION));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tavlin"));
    QGuiApplication::setDesktopFileName(QStringLiteral(TAVLIN_APPLICATION_ID));
    QApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);

    auto d = std::make_unique<Private>();
    d->instance = std::move(instance);
    Bundle::mainBundle().installTranslators();
    d->windowOrder = std::make_unique<WindowOrder>(application);
    d->interface = guarded("mainInterface", std::unique_ptr<MainInterface>(), mainInterface);
    if (d->interface == nullptr)
        return statusNoInterface;
    Application self(std::move(d));
    self.launch(commandLine);
    return self.enterEventLoop();
}

Application::Application(std::unique_ptr<Private> d) : _d(std::move(d)) {
    sharedApplication = this;
    qApp->installEventFilter(this);
    connect(&_d->signals_, &TerminationSignals::received, this, &Application::terminate);
    connect(qApp, &QGuiApplication::lastWindowClosed, this, &Application::terminate);
    connect(
        qApp, &QGuiApplication::commitDataRequest, this,
        [this] {
            saveAndSendWillTerminate();
            UserDefaults::standardUserDefaults().synchronize();  // the session may go as soon as this returns
            QTimer::singleShot(sessionEndLasts, this, [this] { _d->hasTerminated = false; });
        },
        Qt::DirectConnection);
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            guarded("applicationWillBecomeActive", [this] { _d->delegate().applicationWillBecomeActive(); });
    });

    connect(_d->instance.get(), &RunningInstance::asked, this, &Application::openForOtherStart);

    MainMenu& menu = _d->interface->mainMenu();
    menu.setValidator([this](const MenuItem& item) { return _d->delegate().validateMenuItem(item); });
    connect(_d->windowOrder.get(), &WindowOrder::windowPolished, &menu, &MainMenu::attachTo);
    connect(_d->windowOrder.get(), &WindowOrder::changed, this, &Application::validateMenusSoon);
}

Application::~Application() {
    disconnect(_d->windowOrder.get(), nullptr, this, nullptr);
    _d->interface.reset();
    sharedApplication = nullptr;
}

Application* Application::shared() {
    return sharedApplication;
}

void Application::launch(const CommandLine& commandLine) {
    MainInterface& interface = *_d->interface;
    guarded("restoreState", [&] { interface.restoreState(); });
    guarded("awakeFromNib", [&] { interface.awake(); });
    guarded("applicationDidFinishLaunching", [&] { _d->delegate().applicationDidFinishLaunching(); });
    if (commandLine.start == CommandLine::Start::byBus) {
        QTimer::singleShot(requestComesWithin, this, [this] { openOnce({}); });
    } else {
        openOnce(commandLine.paths);
    }
}

/// The first opening, which also finds a folder where none is named.
void Application::openOnce(const QStringList& paths) {
    if (!std::exchange(_d->hasOpened, true))
        guarded("openPaths", [&] { _d->interface->openPaths(paths); });
}

void Application::openForOtherStart(const StartRequest& request) {
    bringToFront(_d->interface->mainWindow(), request.activation);
    if (!_d->hasOpened)
        openOnce(request.paths);
    else if (!request.paths.isEmpty())
        guarded("openPaths", [&] { _d->interface->openPaths(request.paths); });
}

int Application::enterEventLoop() {
    const int status = _d->isTerminating ? EXIT_SUCCESS : QApplication::exec();
    _d->isTerminating = true;
    saveAndSendWillTerminate();
    removeTemporaryFolder();
    if (_d->interface->hasDetachedWork()) {
        // Destroying what such a thread uses would crash it, and waiting for it would hold the user.
        // The settings are what ends otherwise with the application object.
        UserDefaults::standardUserDefaults().synchronize();
        std::fflush(nullptr);
        std::_Exit(status);
    }
    return status;
}

bool Application::isTerminating() {
    return sharedApplication != nullptr && sharedApplication->_d->isTerminating;
}

void Application::terminate() {
    _d->isTerminating = true;
    _d->instance->retire();
    QCoreApplication::exit(EXIT_SUCCESS);
}

void Application::saveAndSendWillTerminate() {
    guarded("saveState", [this] { _d->interface->saveState(); });
    if (std::exchange(_d->hasTerminated, true))
        return;
    guarded("applicationWillTerminate", [this] { _d->delegate().applicationWillTerminate(); });
}

bool Application::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Quit || watched != qApp)
        return false;
    // Left to itself the toolkit would close every window first.
    terminate();
    return true;
}

/// A window that opens or closes is not yet known to its owner: the menus ask when that is done.
void Application::validateMenusSoon() {
    if (std::exchange(_d->isValidationDue, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            _d->isValidationDue = false;
            _d->interface->mainMenu().validate();
        },
        Qt::QueuedConnection);
}

QList<QWidget*> Application::orderedWindows() const {
    return _d->windowOrder->windows();
}

QString Application::classNameOfWindow(const QWidget& window) {
    return QString::fromLatin1(window.metaObject()->className()).section(QStringLiteral("::"), -1);
}

}  // namespace platform
