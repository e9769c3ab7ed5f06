// SPDX-License-Identifier: GPL-3.0-or-later
// The machine's faults against the built program: each row says what goes wrong, what the log or the window
// tells, and afterwards the program must still answer, end well, and have left nothing half-written or lost.
// Started by root, the rows with mounts run too, and the program is an ordinary user's, but where
// TAVLIN_FAULTS is "root". What lives elsewhere:
//   a volume torn off during a load, unmounted with a picture open ......... tst_volume_journey
//   trash on volumes, full, read-only, a link; files of another user ....... tst_trash
//   a settings file that is corrupt; no thread left to write it ............ tst_user_defaults
//   a corrupt state ........................................................ tst_program
//   decoders that crash, hang, want too much memory ........................ tst_decoderprocess, tst_decoding
//   a volume that does not answer, call by call ............................ tst_folder_reader
//   everything at random ................................................... tst_soak
#include "journeys/Journey.h"
#include "testing/MountSandbox.h"
#include "testing/OrdinaryUser.h"
#include "testing/PrivateBus.h"
#include "testing/ProcessFigures.h"
#include "testing/SessionManager.h"
#include "testing/SilentVolume.h"

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QBuffer>
#include <QDirIterator>
#include <QGuiApplication>

#include <csignal>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// What one row has: folders of its own, pictures in home/albums/pictures, the program on the common desktop.
struct Scene {
    explicit Scene(const Desktop& common) : desktop(common), environment(common.environment()) {
        for (const auto& [variable, folder] :
             {std::pair("HOME", "home"), std::pair("XDG_CONFIG_HOME", "config"),
              std::pair("XDG_DATA_HOME", "data"), std::pair("XDG_CACHE_HOME", "cache"),
              std::pair("XDG_STATE_HOME", "state"), std::pair("TMPDIR", "tmp")})
            environment.insert(QString::fromLatin1(variable), path(QString::fromLatin1(folder)));
    }
    ~Scene() {
        program.reset();
        const OrdinaryUser::Root again;
        volume.reset();
        for (const QString& folder : mounts)
            MountSandbox::unmount(folder);
    }
    QString path(const QString& name) const { return root.filePath(name); }
    QString pictures() const { return path(u"home/albums/pictures"_s); }
    pid_t processId() const { return static_cast<pid_t>(program->processId()); }
    void key(const char* name) const { desktop.key(QString::fromLatin1(name)); }
    QString windowName() const { return desktop.activeTitle(); }
    QString front() const { return desktop.xdotool({u"getactivewindow"_s}); }
    /// Opens the first picture and waits for its window, which then has the keys.
    void openPicture() const {
        key("Home");
        key("Return");
        QTRY_VERIFY_WITH_TIMEOUT(!front().isEmpty() && front() != mainWindow, 20000);
    }

    const Desktop& desktop;
    QProcessEnvironment environment;
    QTemporaryDir root;
    QString mainWindow;
    QStringList mounts;
    std::unique_ptr<RunningProgram> program;
    std::unique_ptr<SilentVolume> volume;
    std::shared_ptr<void> others;
    QString obstacle;  ///< why the row cannot be had here
};

using Step = std::function<void(Scene&)>;

void nothing(Scene& /*scene*/) {
}

QString settingsOf(const Scene& scene) {
    return scene.path(u"config/tavlin/tavlin.conf"_s);
}

void storeSettings(const Scene& scene, const char* settings) {
    QVERIFY(QDir().mkpath(scene.path(u"config/tavlin"_s)));
    QFile file(settingsOf(scene));
    QVERIFY(file.open(QFile::WriteOnly));
    QVERIFY(file.write(QByteArray("[PreferencesGlobals]\n") + settings + '\n') > 0);
}

void recursive(Scene& scene) {
    storeSettings(scene, "PreferencesImageBrowserRecursiveSettingKey=true");
}

void fill(const QString& folder) {
    QFile filler(folder + u"/filler"_s);
    QVERIFY(filler.open(QFile::Append | QFile::Unbuffered));
    const QByteArray block(4096, 'f');
    while (filler.write(block) == block.size()) {
    }
}

/// One use of everything that is stored: a thumbnail, the trash, a temporary file, the settings.
void useEverything(Scene& scene) {
    scene.key("ctrl+plus");
    scene.key("Home");
    scene.key("Delete");
    scene.key("F5");
    scene.key("ctrl+comma");
    QTRY_VERIFY_WITH_TIMEOUT(scene.windowName().startsWith(u"Preferences"), 20000);
    scene.key("alt+s");
    scene.key("Escape");
    QTRY_VERIFY_WITH_TIMEOUT(scene.windowName().startsWith(u"pictures"), 20000);
}

void moveStoresAway(Scene& scene) {
    for (const char* name : {"config", "data", "cache", "state", "tmp"})
        QVERIFY(QFile::rename(scene.path(QString::fromLatin1(name)),
                              scene.path(QString::fromLatin1(name) + u" gone"_s)));
    useEverything(scene);
}

void makeTree(Scene& scene) {
    for (int i = 0; i < 40; ++i) {
        const QString folder = u"%1/below %2"_s.arg(scene.pictures()).arg(i);
        QVERIFY(QDir().mkpath(folder));
        for (int j = 0; j < 100; ++j)
            QVERIFY(QFile(u"%1/%2.jpg"_s.arg(folder).arg(j)).open(QFile::WriteOnly));
    }
    recursive(scene);
}

void setLimit(const Scene& scene, decltype(RLIMIT_AS) resource, rlim_t value) {
    const rlimit limit{value, RLIM_INFINITY};
    rlimit before{};
    QCOMPARE(::prlimit(scene.processId(), resource, nullptr, &before), 0);
    const rlimit within{qMin(limit.rlim_cur, before.rlim_max), before.rlim_max};
    QCOMPARE(::prlimit(scene.processId(), resource, &within, nullptr), 0);
}

/// A bus of the row's own, which ends when nothing holds it any more.
void startBus(Scene& scene) {
    const auto bus = std::make_shared<PrivateBus>();
    scene.environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromLatin1(bus->address()));
    scene.others = bus;
}

/// A socket that takes connections and never says a word.
void hangingBus(Scene& scene) {
    const QByteArray path = QFile::encodeName(scene.path(u"bus"_s));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    QVERIFY(std::size_t(path.size()) < sizeof address.sun_path);
    std::copy(path.begin(), path.end(), address.sun_path);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QCOMPARE(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    QCOMPARE(::listen(socket, 100), 0);
    scene.others = std::shared_ptr<void>(nullptr, [socket](void*) { ::close(socket); });
    scene.environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path="_s + QString::fromUtf8(path));
}

void ageOf(const QString& path, qint64 seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
}

QByteArray smallJpeg(const QColor& colour) {
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(colour);
    QBuffer buffer;
    buffer.open(QBuffer::WriteOnly);
    image.save(&buffer, "JPEG");
    return buffer.data();
}

enum class Needs { nothing, mounts, refusals };

/// A row; where there is no time for all (TAVLIN_FAULTS is not set), only one of those that tell most.
void row(const char* name, Needs needs, const Step& prepare, const Step& during,
         const QStringList& told = {}) {
    static const QByteArrayList brief{"disk full",
                                      "no permission",
                                      "two programs on the same stores",
                                      "bus hangs",
                                      "terminated",
                                      "no memory for thumbnails",
                                      "silent volume in the trash"};
    if (brief.contains(name) || qEnvironmentVariableIsSet("TAVLIN_FAULTS"))
        QTest::newRow(name) << needs << prepare << during << told;
}

}  // namespace

class Faults : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void faults_data();
    void faults();

 private:
    void storeRows();
    void folderRows();
    void sessionRows();
    void logOutRows();
    void resourceRows();
    void silentRows();
    static void answers(Scene& scene);
    static QByteArrayList contents(const Scene& scene);
    static void nothingIsHalf(const Scene& scene);

    std::unique_ptr<Desktop> _desktop;
};

void Faults::initTestCase() {
    _desktop = std::make_unique<Desktop>();
    if (!_desktop->problem().isEmpty())
        QSKIP(qPrintable(_desktop->problem()));
}

void Faults::faults_data() {
    QTest::addColumn<Needs>("needs");
    QTest::addColumn<Step>("prepare");
    QTest::addColumn<Step>("during");
    QTest::addColumn<QStringList>("told");  // each in a line of the log
    storeRows();
    folderRows();
    sessionRows();
    logOutRows();
    resourceRows();
    silentRows();
}

void Faults::storeRows() {
    const auto onOneDisk = [](Scene& scene) {
        const OrdinaryUser::Root root;
        QVERIFY(MountSandbox::mountTmpfs(scene.root.path(), "size=4m,mode=777"));
        scene.mounts += scene.root.path();
        storeSettings(scene, "PreferencesDebugLoggingSettingKey=true");
    };
    const QStringList told{u"The settings cannot be written to"_s, u"was not moved to the trash"_s,
                           u"the window's state could not be kept"_s};
    row(
        "disk full", Needs::mounts, onOneDisk,
        [](Scene& scene) {
            // The scripts' commands have left the temporary folder.
            QTRY_VERIFY_WITH_TIMEOUT(scene.program->log().join(u'\n').contains(u"Awaking done!"), 20000);
            fill(scene.root.path());
            useEverything(scene);
            fill(scene.root.path());  // what has been removed since left room
        },
        told.first(2));
    row(
        "disk read-only", Needs::mounts,
        [onOneDisk](Scene& scene) {
            onOneDisk(scene);
#if defined(__SANITIZE_THREAD__)
            scene.obstacle = u"the sanitizer keeps a file of its own open there: the disk stays busy"_s;
#endif
        },
        [](Scene& scene) {
            {
                const OrdinaryUser::Root root;
                const auto isReadOnly = [&] {  // busy while something is being written
                    return ::mount(nullptr, QFile::encodeName(scene.root.path()).constData(), nullptr,
                                   MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
                };
                QVERIFY(QTest::qWaitFor(isReadOnly, 10000));
            }
            useEverything(scene);
        },
        told);
    row("all stores disappear", Needs::nothing, nothing, moveStoresAway);
}

void Faults::folderRows() {
    const auto reload = [](Scene& scene) {
        scene.key("F5");
    };
    row("folder vanishes in a load", Needs::nothing, makeTree, [](Scene& scene) {
        scene.key("F5");
        QVERIFY(QFile::rename(scene.pictures(), scene.pictures() + u" gone"_s));
    });
    row(
        "unmounted by force in a decode", Needs::mounts,
        [](Scene& scene) {
            const OrdinaryUser::Root root;
            QVERIFY(QDir().mkpath(scene.pictures()));
            QVERIFY(MountSandbox::mountTmpfs(scene.pictures(), "mode=777"));
        },
        [](Scene& scene) {
            scene.openPicture();
            scene.key("ctrl+1");
            const OrdinaryUser::Root root;
            QVERIFY(MountSandbox::unmount(scene.pictures()));
        });
    row("no permission", Needs::refusals, nothing, [](Scene& scene) {
        QVERIFY(QFile::setPermissions(scene.pictures() + u"/000.jpg"_s, {}));
        scene.key("ctrl+plus");
        scene.key("F5");
        QVERIFY(QFile::setPermissions(scene.pictures(), {}));
        scene.key("F5");
        const AccessibilityBus bus(scene.desktop);
        QTRY_COMPARE_WITH_TIMEOUT(bus.description(bus.find(u"list"_s, u"Pictures"_s)),
                                  u"This folder cannot be read"_s, 20000);
        QVERIFY(QFile::setPermissions(scene.pictures(), QFile::ReadUser | QFile::WriteUser | QFile::ExeUser));
        QVERIFY(QFile::setPermissions(scene.pictures() + u"/000.jpg"_s, QFile::ReadUser | QFile::WriteUser));
    });
    row(
        "loop of links", Needs::nothing,
        [](Scene& scene) {
            QVERIFY(QDir().mkpath(scene.pictures()));
            QVERIFY(QFile::link(scene.pictures(), scene.pictures() + u"/again"_s));
            QVERIFY(QFile::link(u"round"_s, scene.pictures() + u"/round"_s));
            recursive(scene);
        },
        reload);
    row(
        "loop of mounts", Needs::mounts,
        [](Scene& scene) {
            const QString inner = scene.pictures() + u"/inner"_s;
            QVERIFY(QDir().mkpath(inner));
            recursive(scene);
            const OrdinaryUser::Root root;
            QCOMPARE(::mount(QFile::encodeName(scene.path(u"home"_s)).constData(),
                             QFile::encodeName(inner).constData(), nullptr, MS_BIND | MS_REC, nullptr),
                     0);
            scene.mounts += inner;
        },
        reload);
}

void Faults::sessionRows() {
    const auto withBus = [](const char* address) {
        return Step([address](Scene& scene) {
            scene.environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromLatin1(address));
        });
    };
    const auto withRuntime = [](const char* folder) {
        return Step([folder](Scene& scene) {
            scene.environment.insert(u"XDG_RUNTIME_DIR"_s, QString::fromLatin1(folder));
        });
    };
    const auto signal = [](int number) {
        return Step([number](Scene& scene) {
            scene.key("F5");
            scene.key("ctrl+plus");
            ::kill(scene.processId(), number);
            QCOMPARE(scene.program->waitForEnd(20000), number == SIGKILL ? -1 : 0);
        });
    };
    row("three starts at once", Needs::nothing, nothing, [](Scene& scene) {
        RunningProgram second(scene.environment, {scene.pictures()});
        RunningProgram third(scene.environment, {scene.pictures()});
        QCOMPARE(second.waitForEnd(20000), 0);
        QCOMPARE(third.waitForEnd(20000), 0);
    });
    row("two programs on the same stores", Needs::nothing, withBus("disabled:"), [](Scene& scene) {
        RunningProgram second(scene.environment, {scene.pictures()});
        QTRY_VERIFY_WITH_TIMEOUT(scene.front() != scene.mainWindow, 20000);
        QTRY_COMPARE_WITH_TIMEOUT(scene.windowName(), u"pictures — Tavlin"_s, 20000);
        useEverything(scene);
        QCOMPARE(second.terminate(), 0);
    });
    row("no bus", Needs::nothing, withBus("unix:path=/nonexistent"), useEverything);
    row("bus hangs", Needs::nothing, hangingBus, useEverything,
        QStringList{u"The session bus does not answer"_s});
    row("bus dies", Needs::nothing, startBus, [](Scene& scene) {
        scene.others.reset();
        useEverything(scene);
    });
    row("no runtime folder", Needs::nothing, withRuntime("/proc/nonexistent"), useEverything);
    row("another user's runtime folder", Needs::refusals, withRuntime("/root"), useEverything);
    for (const auto& [name, number] :
         {std::pair("terminated", SIGTERM), std::pair("hung up", SIGHUP), std::pair("killed", SIGKILL)})
        row(name, Needs::nothing, makeTree, signal(number));
}

void Faults::logOutRows() {
    const auto underManager = [](Scene& scene) {
        makeTree(scene);
        const auto manager = std::make_shared<SessionManager>(scene.environment);
        scene.obstacle = manager->problem();
        scene.others = manager;
    };
    for (const bool byHand : {false, true})
        row(byHand ? "logged out" : "system shuts down", Needs::nothing, underManager,
            [byHand](Scene& scene) {
                QVERIFY(QFile::remove(settingsOf(scene)));
                scene.key("F5");
                scene.key("ctrl+plus");
                const auto manager = std::static_pointer_cast<SessionManager>(scene.others);
                byHand ? manager->logOut(scene.desktop) : manager->systemShutsDown();
                QCOMPARE(scene.program->waitForEnd(20000), 0);
                QVERIFY(QFile::exists(settingsOf(scene)));
                QVERIFY(QFile::exists(scene.path(u"state/tavlin/window.json"_s)));
            });
}

void Faults::resourceRows() {
    const auto isOwnMemory = []([[maybe_unused]] Scene& scene) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        scene.obstacle = u"the sanitizer's shadow needs the address space that is to be limited"_s;
#endif
    };
    row("no memory for thumbnails", Needs::nothing, isOwnMemory, [](Scene& scene) {
        const auto pages = ProcessFigures::contentsOf(u"/proc/%1/statm"_s.arg(scene.processId()));
        const rlim_t used = pages.split(' ').value(0).toULongLong() * rlim_t(::sysconf(_SC_PAGESIZE));
        setLimit(scene, RLIMIT_AS, used + (rlim_t{24} << 20));
        for (const char* key : {"ctrl+plus", "ctrl+plus"})
            scene.key(key);
        scene.openPicture();
        for (const char* key : {"ctrl+1", "Escape"})
            scene.key(key);
        setLimit(scene, RLIMIT_AS, RLIM_INFINITY);
    });
    row(
        "few descriptors allowed", Needs::nothing,
        [](Scene& scene) {
            rlimit own{};
            QCOMPARE(::getrlimit(RLIMIT_NOFILE, &own), 0);
            const rlimit low{128, own.rlim_max};
            QCOMPARE(::setrlimit(RLIMIT_NOFILE, &low), 0);
            scene.others = std::shared_ptr<void>(nullptr, [own](void*) { ::setrlimit(RLIMIT_NOFILE, &own); });
        },
        [](Scene& scene) {
            const auto isRaised = [&] {  // but for the moments in which it starts another program
                rlimit limits{};
                return ::prlimit(scene.processId(), RLIMIT_NOFILE, nullptr, &limits) == 0 &&
                       limits.rlim_cur == limits.rlim_max;
            };
            QTRY_VERIFY_WITH_TIMEOUT(isRaised(), 20000);
            useEverything(scene);
        });
    row(
        "clock set back", Needs::nothing,
        [](Scene& scene) { storeSettings(scene, "PreferencesImagesBrowserSortSettingKey=1"); },
        [](Scene& scene) {
            ageOf(scene.pictures() + u"/000.jpg"_s, 4'000'000'000);
            ageOf(scene.pictures() + u"/001.jpg"_s, -4'000);
            scene.key("ctrl+plus");
            scene.key("F5");
            ageOf(settingsOf(scene), 4'000'000'000);
            useEverything(scene);
        });
}

void Faults::silentRows() {
    const auto mounted = [](Scene& scene) {
        const OrdinaryUser::Root root;
        QVERIFY(QDir().mkpath(u"/media/Silent"_s));
        // The leak checker would wait at the end for every thread to stop, also one that the volume holds.
        scene.environment.insert(u"ASAN_OPTIONS"_s,
                                 qEnvironmentVariable("ASAN_OPTIONS") + u":detect_leaks=0"_s);
        scene.volume = std::make_unique<SilentVolume>(
            u"/media/Silent"_s,
            QList<SilentVolume::File>{{"a.jpg", smallJpeg(Qt::red)}, {"b.jpg", smallJpeg(Qt::green)}});
        scene.obstacle = scene.volume->problem();
    };
    const auto silent = [](const QStringList& keys) {
        return Step([keys](Scene& scene) {
            RunningProgram second(scene.environment, {u"/media/Silent"_s});
            QCOMPARE(second.waitForEnd(20000), 0);
            const AccessibilityBus bus(scene.desktop);
            QTRY_COMPARE_WITH_TIMEOUT(titles(bus), (QStringList{u"a.jpg"_s, u"b.jpg"_s}), 20000);
            scene.key("Home");
            scene.volume->fallSilent();
            for (const QString& key : keys)
                key == u"Return" ? scene.openPicture() : scene.desktop.key(key);
            RunningProgram third(scene.environment, {scene.pictures()});
            QCOMPARE(third.waitForEnd(20000), 0);
        });
    };
    row("silent volume in the grid", Needs::mounts, mounted, silent({u"F5"_s, u"ctrl+plus"_s, u"F5"_s}));
    row("silent volume in the outline", Needs::mounts, mounted,
        silent({u"Tab"_s, u"Tab"_s, u"Right"_s, u"Down"_s, u"Up"_s}));
    row("silent volume in an image window", Needs::mounts, mounted,
        silent({u"Return"_s, u"Right"_s, u"Escape"_s}));
    row("silent volume in a print", Needs::mounts, mounted, [silent](Scene& scene) {
        silent({u"Return"_s})(scene);
        scene.desktop.bringToFront(u"^a.jpg"_s);
        scene.key("ctrl+p");
        scene.desktop.bringToFront(u"^Print"_s);
        scene.key("Return");
        QTRY_COMPARE_WITH_TIMEOUT(scene.desktop.windows(u"^a.jpg"_s).size(), 2, 20000);  // the progress
        QCOMPARE(scene.program->terminate(), 0);
        QVERIFY(QDir(scene.path(u"home"_s)).entryList({u"*.pdf"_s}).isEmpty());
    });
    row("silent volume in the trash", Needs::mounts, mounted, silent({u"Delete"_s}),
        QStringList{u"its volume does not answer"_s});
}

/// It goes to the folder above and tells so in its title.
void Faults::answers(Scene& scene) {
    QVERIFY(scene.program->isRunning());
    QTRY_COMPARE_WITH_TIMEOUT(
        (scene.desktop.xdotool({u"windowactivate"_s, scene.mainWindow}), scene.windowName()),
        u"pictures — Tavlin"_s, 20000);
    scene.key("alt+Up");  // once, as a second would go further up
    QTRY_COMPARE_WITH_TIMEOUT(scene.windowName(), u"albums — Tavlin"_s, 20000);
    QCOMPARE(scene.program->terminate(), 0);
}

/// Of all pictures, where they were or in the trash, sorted.
QByteArrayList Faults::contents(const Scene& scene) {
    QByteArrayList result;
    for (const char* place : {"home", "data", "data gone"}) {
        QDirIterator files(scene.path(QString::fromLatin1(place)), QDir::Files | QDir::Hidden,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            if (files.next().endsWith(u".jpg"_s) && files.fileInfo().size() > 0)
                result += ProcessFigures::contentsOf(files.filePath());
    }
    std::sort(result.begin(), result.end());
    return result;
}

void Faults::nothingIsHalf(const Scene& scene) {
    const QByteArray row = QTest::currentDataTag();
    const bool wasKilled = row == "killed" || row == "disk read-only";  // nothing could be tidied up
    for (const char* place : {"config", "cache", "state", "tmp"}) {
        QDirIterator files(scene.path(QString::fromLatin1(place)), QDir::Files | QDir::Hidden,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            const QString name = files.fileName();
            if (path.contains(u"/thumbnails/"_s) && name.endsWith(u".png"_s))
                QVERIFY2(!QImage(path).isNull(), qPrintable(path));
            const bool isWhole =
                name.endsWith(u".png"_s) || name == u"tavlin.conf"_s || name == u"window.json"_s;
            QVERIFY2(isWhole || wasKilled || !path.contains(u"tavlin"_s), qPrintable(path));
        }
    }
    if (QFile::exists(settingsOf(scene)))
        QVERIFY(ProcessFigures::contentsOf(settingsOf(scene)).contains("PreferencesGlobals]\n"));
    const QString state = scene.path(u"state/tavlin/window.json"_s);
    if (QFile::exists(state))
        QVERIFY(ProcessFigures::contentsOf(state).endsWith("}\n"));
}

void Faults::faults() {
    QFETCH(const Needs, needs);
    QFETCH(const Step, prepare);
    QFETCH(const Step, during);
    QFETCH(const QStringList, told);
    if (needs == Needs::refusals && ::geteuid() == 0)
        QSKIP("root is refused nothing");
    if (needs == Needs::mounts && !MountSandbox::problem().isEmpty())
        QSKIP(qPrintable(MountSandbox::problem()));
    Scene scene(*_desktop);
    prepare(scene);
    if (!scene.obstacle.isEmpty())
        QSKIP(qPrintable(scene.obstacle));
    for (const char* folder : {"config", "data", "cache", "state", "tmp"})
        QVERIFY(QDir().mkpath(scene.path(QString::fromLatin1(folder))));
    QVERIFY(QDir().mkpath(scene.pictures()));
    for (int i = 0; i < 4; ++i)
        makePicture(u"%1/%2.jpg"_s.arg(scene.pictures()).arg(i, 3, 10, QChar(u'0')), colourOf(i), {320, 240});
    if (!QFile::exists(settingsOf(scene)))
        storeSettings(scene, "PreferencesImageBrowserAnimationSettingKey=true");
    const QByteArrayList before = contents(scene);
    QVERIFY(!QTest::currentTestFailed());
    scene.program = std::make_unique<RunningProgram>(scene.environment, QStringList{scene.pictures()});
    QTRY_COMPARE_WITH_TIMEOUT(scene.windowName(), u"pictures — Tavlin"_s, 20000);
    scene.mainWindow = scene.front();
    during(scene);
    if (!QTest::currentTestFailed() && scene.program->isRunning())
        answers(scene);
    if (QTest::currentTestFailed())
        qInfo("log:\n%s", qPrintable(scene.program->log().join(u'\n')));
    const QString log = scene.program->log().join(u'\n');
    for (const QString& line : told)
        QVERIFY2(log.contains(line), qPrintable(line + u"\nis missing in\n"_s + log));
    if (QByteArray(QTest::currentDataTag()) != "unmounted by force in a decode")
        QCOMPARE(contents(scene), before);
    nothingIsHalf(scene);
}

int main(int argc, char** argv) {
    MountSandbox::enter();
    if (MountSandbox::problem().isEmpty())
        ::mount("tmpfs", "/media", "tmpfs", 0, "mode=755");
    showProgramToEverybody();
    if (qgetenv("TAVLIN_FAULTS") != "root")
        OrdinaryUser::become();
    const QGuiApplication application(argc, argv);
    Faults faults;
    const int status = QTest::qExec(&faults, argc, argv);
    OrdinaryUser::end();
    return status;
}

#include "tst_faults.moc"
