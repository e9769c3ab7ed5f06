// SPDX-License-Identifier: GPL-3.0-or-later
// Random use at speed. After a warm-up in which everything is done at least once, and again after the run,
// all windows are closed and the first folder is shown: the program must then use what it used before, no
// picture may be lost, and the log is clean. TAVLIN_SOAK_SECONDS and TAVLIN_SOAK_SEED choose how long and
// what; the same seed asks for the same actions in the same order. On failure the last of them are printed.
#include "journeys/Journey.h"
#include "testing/MountSandbox.h"
#include "testing/OrdinaryUser.h"
#include "testing/ProcessFigures.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <QCryptographicHash>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QScopeGuard>

#include <csignal>
#include <functional>
#include <random>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// All pictures decoded but one, which is shown in tiles, are less than 10 MiB, so that the caches hold
/// little.
constexpr QSize smallSize(120, 90);
/// KiB that the run may add to what the program holds after the warm-up: those 10 MiB, the tiles, and the
/// heap's unevenness.
constexpr qint64 mostMemoryGrown = 40 << 10;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isMemoryOwn = false;  ///< the sanitizer keeps what is freed; its decoders are not confined
#else
constexpr bool isMemoryOwn = true;
#endif
/// Descriptors, threads and decoders that the program may have more: a decoder that was killed is started
/// anew when it is wanted. In the short run already, one lost for every tenth action is more.
constexpr int mostStartedLater = 12;
constexpr qsizetype actionsTold = 40;
/// Of pictures; a search among the accessible objects ends before it has been through many more.
constexpr qsizetype mostWindows = 20;

int numberAsked(const char* variable, int otherwise) {
    return qEnvironmentVariableIsSet(variable) ? qEnvironmentVariableIntValue(variable) : otherwise;
}

int secondsAsked() {
    return numberAsked("TAVLIN_SOAK_SECONDS", 12);
}

}  // namespace

class Soak : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void staysAsItWas();

 private:
    struct Action {
        int weight;
        const char* name;
        std::function<void()> run;
    };

    void makeWorld();
    void makeActions();
    /// For so long, or until each action has been done twice, whichever takes longer.
    void actFor(std::chrono::seconds duration, int eachAtLeast);
    void comeToRest();
    ProcessFigures steadyFigures() const;
    ProcessFigures figuresAtRest(const ProcessFigures& bound) const;
    void answers();
    QString whereItStands();
    QStringList otherWindows() const;
    void closeOtherWindows();

    void key(const char* name) { _desktop->key(QString::fromLatin1(name)); }
    void keys(const QStringList& names);
    QString windowName() const;
    void bringToFront();
    /// Whether the main window is in front and shows a folder of the test's own: nothing else may be removed.
    bool isOwnFolderInFront() const { return _windowNames.contains(windowName()); }
    void showFolder(const QString& folder);
    QPoint somewhereInGrid();
    void open();
    void remove();
    void toggleRecursion();
    void killDecoders();
    void mount();
    void unmount();
    QList<QByteArray> everyContent() const;
    QStringList unexpectedLog();

    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(_random); }

    std::unique_ptr<Desktop> _desktop;
    std::unique_ptr<AccessibilityBus> _bus;
    std::unique_ptr<RunningProgram> _program;
    std::mt19937 _random;
    std::vector<Action> _actions;
    QStringList _folders;
    QStringList _windowNames;
    QStringList _done;
    QString _mainWindow;
    QRect _grid;
    QPoint _script;
    bool _isMounted = false;
};

void Soak::makeWorld() {
    const auto make = [this](const QString& name, int count) {
        return makeFolder(*_desktop, name, count, smallSize);
    };
    _folders = {make(u"first"_s, 12), make(u"many"_s, 150), make(u"nested"_s, 5), make(u"strange"_s, 3)};
    for (int i = 0; i < 4; ++i)
        make(u"nested/below %1/deeper"_s.arg(i), 10);
    const QString& strange = _folders.constLast();
    makePicture(strange + u"/large.jpg"_s, Qt::darkGreen, {2400, 1600});
    makePicture(strange + u"/cut.jpg"_s, Qt::red, {900, 900});
    QVERIFY(QFile::resize(strange + u"/cut.jpg"_s, 2000));
    QFile text(strange + u"/text.png"_s);
    QVERIFY(text.open(QFile::WriteOnly) && text.write("no picture") > 0);
    QVERIFY(QFile::link(strange, strange + u"/loop"_s));
    QCOMPARE(::mkfifo(QFile::encodeName(strange + u"/fifo.jpg"_s).constData(), 0600), 0);
    // No two files are alike, so that each can be told from all others wherever it lies.
    int number = 0;
    QDirIterator files(_desktop->folder(u"home"_s), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        QVERIFY(file.open(QFile::Append));
        file.write(QByteArray::number(++number));
    }
    QDir().mkpath(_desktop->folder(u"data/Tavlin/Scripts"_s));
    QFile script(_desktop->folder(u"data/Tavlin/Scripts/0 look.sh"_s));
    QVERIFY(script.open(QFile::WriteOnly) && script.write("cat -- \"$1\" > /dev/null\n") > 0);
    if (MountSandbox::problem().isEmpty()) {
        const OrdinaryUser::Root root;
        const QString volume = _desktop->folder(u"volume"_s);
        QVERIFY(MountSandbox::mountExt4(volume, 8));
        QDir().mkpath(volume + u"/on the volume"_s);
        for (int i = 0; i < 8; ++i)
            makePicture(u"%1/%2.jpg"_s.arg(volume).arg(i, 3, 10, QChar(u'0')), QColor::fromHsv(i, 255, 99));
        QCOMPARE(QProcess::execute(u"chown"_s, {u"-R"_s, QString::number(OrdinaryUser::kId), volume}), 0);
        QCOMPARE(::umount2(QFile::encodeName(volume).constData(), 0), 0);
        QVERIFY(QDir().mkpath(u"/media/Soak"_s));
        _folders += u"/media/Soak"_s;
    }
    for (const QString& folder : std::as_const(_folders))
        _windowNames += QFileInfo(folder).fileName() + u" — Tavlin"_s;
}

void Soak::makeActions() {
    const auto keyAction = [this](int weight, const char* name) {
        _actions.push_back({weight, name, [this, name] {
                                key(name);
                            }});
    };
    const auto frontKey = [this](int weight, const char* name) {
        _actions.push_back({weight, name, [this, name] {
                                bringToFront();
                                key(name);
                            }});
    };
    _actions = {{10, "another folder",
                 [this] {
                     showFolder(_folders[below(int(_folders.size()))]);
                 }},
                {10, "wheel",
                 [this] {
                     _desktop->wheel(somewhereInGrid(), below(21) - 10);
                 }},
                {8, "click",
                 [this] {
                     _desktop->click(somewhereInGrid());
                 }},
                {6, "open",
                 [this] {
                     open();
                 }},
                {4, "remove",
                 [this] {
                     remove();
                 }},
                {2, "recursion",
                 [this] {
                     toggleRecursion();
                 }},
                {3, "kill decoders",
                 [this] {
                     killDecoders();
                 }},
                {2, "script", [this] {
                     bringToFront();
                     _desktop->click(_script, 2);
                     _desktop->click(somewhereInGrid());
                 }}};
    if (MountSandbox::problem().isEmpty()) {
        _actions.push_back({2, "mount", [this] {
                                mount();
                            }});
        _actions.push_back({3, "unmount", [this] {
                                unmount();
                            }});
    }
    for (const char* name : {"ctrl+plus", "ctrl+minus", "Left", "Right", "Page_Down", "Page_Up", "Escape"})
        keyAction(5, name);
    for (const char* name : {"ctrl+0", "ctrl+1", "F11"})
        keyAction(1, name);
    for (const char* name : {"ctrl+z", "F5", "End", "Home"})
        frontKey(3, name);
}

void Soak::keys(const QStringList& names) {
    _desktop->run(u"xdotool"_s, QStringList{u"key"_s, u"--delay"_s, u"5"_s} + names);
}

QString Soak::windowName() const {
    return _desktop->run(u"xdotool"_s, {u"getactivewindow"_s, u"getwindowname"_s}).trimmed();
}

void Soak::bringToFront() {
    _desktop->run(u"xdotool"_s, {u"windowactivate"_s, u"--sync"_s, _mainWindow});
}

/// As a second start with a folder does.
void Soak::showFolder(const QString& folder) {
    RunningProgram second(*_desktop, {folder});
    QCOMPARE(second.waitForEnd(20000), 0);
}

QPoint Soak::somewhereInGrid() {
    return {_grid.left() + 10 + below(_grid.width() - 30), _grid.top() + 10 + below(_grid.height() - 20)};
}

void Soak::open() {
    bringToFront();
    _desktop->click(somewhereInGrid(), 2);
    if (below(3) == 0)
        keys({u"Right"_s, u"Right"_s, u"Left"_s, u"plus"_s, u"plus"_s, u"Down"_s, u"minus"_s, u"Right"_s});
    if (below(4) == 0) {
        bringToFront();
        keys({u"Home"_s, u"shift+Right"_s, u"shift+Right"_s, u"Return"_s});
    }
}

void Soak::remove() {
    bringToFront();
    _desktop->click(somewhereInGrid());
    if (isOwnFolderInFront())
        key("Delete");
    if (below(2) == 0)
        keys({u"ctrl+z"_s, u"ctrl+z"_s});
}

void Soak::toggleRecursion() {
    bringToFront();
    key("ctrl+comma");
    if (QTest::qWaitFor([&] { return windowName().startsWith(u"Preferences"); }, 10000))
        keys({u"alt+s"_s, u"Escape"_s});
    QTRY_VERIFY_WITH_TIMEOUT(!windowName().startsWith(u"Preferences"), 10000);
    bringToFront();
    key("F5");
}

void Soak::killDecoders() {
    for (const qint64 child : ProcessFigures::of(_program->processId()).children)
        if (ProcessFigures::contentsOf(u"/proc/%1/comm"_s.arg(child)).startsWith("tavlin-decoder") &&
            below(2) == 0)
            ::kill(static_cast<pid_t>(child), SIGKILL);
}

void Soak::mount() {
    if (_isMounted)
        return;
    const OrdinaryUser::Root root;
    const QString image = _desktop->folder(u"volume.image"_s);
    QCOMPARE(QProcess::execute(u"mount"_s, {u"-o"_s, u"loop"_s, image, u"/media/Soak"_s}), 0);
    _isMounted = true;
}

/// Not by force: the program has to let it go.
void Soak::unmount() {
    if (!_isMounted)
        return;
    const auto isUnmounted = [] {
        const OrdinaryUser::Root root;
        return ::umount2("/media/Soak", 0) == 0;
    };
    QVERIFY2(QTest::qWaitFor(isUnmounted, 20000), "the volume stayed busy");
    _isMounted = false;
}

void Soak::answers() {
    QVERIFY2(_program->isRunning(), "the program has ended");
    if (!_bus->find(u"list"_s, u"Pictures"_s, 20000).isValid())
        QFAIL(qPrintable(u"the program does not answer:\n"_s + whereItStands()));
}

/// Its windows, and each thread's stack where there is a debugger.
QString Soak::whereItStands() {
    const QString process = QString::number(_program->processId());
    QString text = _desktop->run(
        u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--pid"_s, process, u"getwindowname"_s, u"%@"_s});
    const OrdinaryUser::Root root;
    QProcess debugger;
    debugger.start(u"gdb"_s, {u"-p"_s, process, u"-batch"_s, u"-ex"_s, u"thread apply all bt 16"_s});
    if (debugger.waitForFinished(120000))
        text += QString::fromUtf8(debugger.readAllStandardOutput()).right(20000);
    return text;
}

void Soak::actFor(std::chrono::seconds duration, int eachAtLeast) {
    std::vector<int> times(_actions.size(), 0);
    std::vector<int> weights;
    for (const Action& action : _actions)
        weights.push_back(action.weight);
    std::discrete_distribution<std::size_t> choice(weights.begin(), weights.end());
    const QDeadlineTimer end(duration);
    const auto act = [&](std::size_t chosen) {
        QElapsedTimer taken;
        taken.start();
        _actions[chosen].run();
        _done += u"%1 (%2 ms)"_s.arg(QLatin1StringView(_actions[chosen].name)).arg(taken.elapsed());
        ++times[chosen];
        if (_done.size() % 25 == 0) {
            if (otherWindows().size() > mostWindows)
                closeOtherWindows();
            answers();
        }
        return !QTest::currentTestFailed();
    };
    for (int round = 0; round < eachAtLeast; ++round)
        for (std::size_t i = 0; i < _actions.size(); ++i)
            if (!act(i))
                return;
    while (!end.hasExpired())
        if (!act(choice(_random)))
            return;
}

QStringList Soak::otherWindows() const {
    QStringList windows = _desktop
                              ->run(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--pid"_s,
                                                   QString::number(_program->processId())})
                              .split(u'\n', Qt::SkipEmptyParts);
    windows.removeAll(_mainWindow);
    return windows;
}

void Soak::closeOtherWindows() {
    const auto close = [&] {
        for (const QString& window : otherWindows())
            _desktop->run(u"xdotool"_s, {u"windowactivate"_s, u"--sync"_s, window, u"key"_s, u"--delay"_s,
                                         u"5"_s, u"Escape"_s});
        return otherWindows().isEmpty();
    };
    QVERIFY2(QTest::qWaitFor(close, 60000), "windows stayed open");
}

/// All windows but the main one closed, the first folder shown to its end, as at the beginning.
void Soak::comeToRest() {
    mount();  // what was removed from it can come back then
    closeOtherWindows();
    showFolder(_folders.constFirst());
    QTRY_VERIFY_WITH_TIMEOUT(isOwnFolderInFront(), 20000);
    _desktop->click({_grid.right() - 12, _grid.bottom() - 8});
    for (int i = 0; i < 300 && !QTest::currentTestFailed(); ++i) {
        const auto undo = _bus->find(u"menu item"_s, u"Undo"_s, 1);
        if (!undo.isValid() || !_bus->is(undo, AccessibleState::enabled))
            break;
        keys({u"ctrl+z"_s, u"ctrl+z"_s, u"ctrl+z"_s});
    }
    unmount();
}

/// What the program uses once that stays the same for ten readings in a row.
ProcessFigures Soak::steadyFigures() const {
    ProcessFigures last;
    int steady = 0;
    std::ignore = QTest::qWaitFor(
        [&] {
            const auto now = ProcessFigures::of(_program->processId());
            const bool isSame = now.descriptors == last.descriptors && now.threads == last.threads &&
                                now.children == last.children;
            steady = isSame ? steady + 1 : 0;
            last = now;
            return steady == 10;
        },
        20000);
    return last;
}

/// Threads and decoders that have nothing more to do may take their time to end.
ProcessFigures Soak::figuresAtRest(const ProcessFigures& bound) const {
    ProcessFigures now;
    const auto isWithin = [&] {
        now = ProcessFigures::of(_program->processId());
        return now.descriptors <= bound.descriptors && now.threads <= bound.threads &&
               now.children.size() <= bound.children.size() && now.memory <= bound.memory;
    };
    std::ignore = QTest::qWaitFor(isWithin, 20000);
    return now;
}

/// Of all files where pictures lie or were removed to, sorted.
QList<QByteArray> Soak::everyContent() const {
    QStringList roots = _folders;
    roots += _desktop->folder(u"data/Trash/files"_s);
    QList<QByteArray> contents;
    for (const QString& root : std::as_const(roots)) {
        QDirIterator files(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QByteArray content = ProcessFigures::contentsOf(files.next());
            if (!files.filePath().endsWith(u".trashinfo"))
                contents += QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex();
        }
    }
    std::sort(contents.begin(), contents.end());
    return contents;
}

/// What lies on a volume that has just been unmounted can be neither removed nor taken back; the shell
/// command that asks for the screen's sharing removes a file that may not be there.
QStringList Soak::unexpectedLog() {
    QStringList lines = _program->log();
    lines.removeIf([](const QString& line) {
        return (!isMemoryOwn && line.contains(u"neither Landlock nor seccomp"_s)) ||
               line.contains(u"stays in the trash: the trash could not be opened") ||
               line.contains(u"was not moved to the trash: it is not there") ||
               (line.startsWith(u"rm: ") && line.contains(u"tavlin_checkARDState.tmp"));
    });
    return lines;
}

void Soak::staysAsItWas() {
    const std::chrono::seconds duration(secondsAsked());
    const int seed = numberAsked("TAVLIN_SOAK_SEED", 1);
    _random.seed(static_cast<unsigned>(seed));
    _desktop = std::make_unique<Desktop>();
    if (!_desktop->problem().isEmpty())
        QSKIP(qPrintable(_desktop->problem()));
    makeWorld();
    makeActions();
    _program = std::make_unique<RunningProgram>(*_desktop, QStringList{_folders.constFirst()});
    _bus = std::make_unique<AccessibilityBus>(*_desktop);
    const auto tell = qScopeGuard([&] {
        if (!QTest::currentTestFailed())
            return;
        qInfo("seed %d; the last of %lld actions: %s", seed, static_cast<long long>(_done.size()),
              qPrintable(_done.mid(qMax<qsizetype>(0, _done.size() - actionsTold)).join(u", "_s)));
        qInfo("log:\n%s", qPrintable(_program->log().join(u'\n')));
        _desktop->keepScreenshot(u"soak-failed"_s);
    });
    QVERIFY(waitForThumbnails(*_desktop, *_bus));
    _mainWindow = _desktop->run(u"xdotool"_s, {u"getactivewindow"_s}).trimmed();
    _grid = _bus->find(u"list"_s, u"Pictures"_s).extents;
    _script = _bus->find(u"cell"_s, u"0 look.sh"_s).extents.center();
    mount();
    const QList<QByteArray> before = everyContent();
    unmount();

    const auto stepOver = [&](const auto& step) {
        if (!QTest::currentTestFailed())
            step();
    };
    stepOver([&] { actFor(duration / 4, 1); });
    stepOver([&] { comeToRest(); });
    if (QTest::currentTestFailed())
        return;
    const ProcessFigures begun = steadyFigures();
    stepOver([&] { actFor(duration, 0); });
    stepOver([&] { comeToRest(); });
    if (QTest::currentTestFailed())
        return;
    ProcessFigures bound = begun;
    bound.descriptors += mostStartedLater;
    bound.threads += mostStartedLater;
    bound.children.resize(begun.children.size() + mostStartedLater);
    bound.memory = isMemoryOwn ? begun.memory + mostMemoryGrown : std::numeric_limits<qint64>::max();
    const ProcessFigures ended = figuresAtRest(bound);
    qInfo("seed %d, %lld actions; before: %s; after: %s", seed, static_cast<long long>(_done.size()),
          qPrintable(begun.text()), qPrintable(ended.text()));
    QVERIFY(ended.descriptors <= bound.descriptors);
    QVERIFY(ended.threads <= bound.threads);
    QVERIFY(ended.children.size() <= bound.children.size());
    QVERIFY(ended.memory <= bound.memory);
    QCOMPARE(_program->terminate(), 0);
    mount();
    QCOMPARE(everyContent(), before);
    unmount();
    QCOMPARE(unexpectedLog(), QStringList());
}

int main(int argc, char** argv) {
    MountSandbox::enter();
    if (MountSandbox::problem().isEmpty())
        ::mount("tmpfs", "/media", "tmpfs", 0, "mode=755");
    showProgramToEverybody();
    OrdinaryUser::become();
    qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number((secondsAsked() * 2 + 240) * 1000));
    const QGuiApplication application(argc, argv);
    Soak soak;
    const int status = QTest::qExec(&soak, argc, argv);
    OrdinaryUser::end();
    return status;
}

#include "tst_soak.moc"
