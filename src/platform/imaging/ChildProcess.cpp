// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <vector>

namespace platform {

namespace {

constexpr int kPatienceMilliseconds =
    200;  // a killed process is gone within a few, unless the kernel holds it

/// Killed children that would not die at once; tried again whenever another child ends. Never destroyed, as
/// the program's last children end after its statics.
class Unreaped {
 public:
    void add(pid_t processId) {
        const std::scoped_lock lock(_mutex);
        _processIds.push_back(processId);
    }
    void reap() {
        const std::scoped_lock lock(_mutex);
        std::erase_if(_processIds, [](pid_t id) { return ::waitpid(id, nullptr, WNOHANG) != 0; });
    }

 private:
    std::mutex _mutex;  // guards _processIds
    std::vector<pid_t> _processIds;
};

Unreaped& unreaped() {
    static auto& instance = *new Unreaped;
    return instance;
}

/// Waits for the end of a killed child; false when it is still there.
bool awaitEnd(pid_t processId) {
    const ScopedFileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, processId, 0)));
    if (process.isValid()) {
        pollfd ended{process.get(), POLLIN, 0};
        while (::poll(&ended, 1, kPatienceMilliseconds) < 0 && errno == EINTR) {
        }
    }
    return ::waitpid(processId, nullptr, WNOHANG) != 0;
}

class SpawnActions {
 public:
    SpawnActions(int socket, int socketNumber) {
        posix_spawn_file_actions_init(&_actions);
        posix_spawn_file_actions_addopen(&_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&_actions, socket, socketNumber);
        posix_spawn_file_actions_addclosefrom_np(&_actions, socketNumber + 1);
    }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    const posix_spawn_file_actions_t* get() const { return &_actions; }

 private:
    posix_spawn_file_actions_t _actions{};
};

class SpawnAttributes {
 public:
    SpawnAttributes() {
        posix_spawnattr_init(&_attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&_attributes, &none);
        posix_spawnattr_setsigdefault(&_attributes, &all);
        posix_spawnattr_setpgroup(&_attributes, 0);
        posix_spawnattr_setflags(&_attributes,
                                 POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    const posix_spawnattr_t* get() const { return &_attributes; }

 private:
    posix_spawnattr_t _attributes{};
};

/// No more than is needed to find the libraries where they are not in the system's folders, and the
/// sanitizers' own settings.
QList<QByteArray> minimalEnvironment() {
    QList<QByteArray> environment{QByteArrayLiteral("LC_ALL=C.UTF-8")};
    for (const char* name : {"LD_LIBRARY_PATH", "QT_PLUGIN_PATH", "FONTCONFIG_FILE", "ASAN_OPTIONS",
                             "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (qEnvironmentVariableIsSet(name))
            environment.append(QByteArray(name) + '=' + qgetenv(name));
    }
    return environment;
}

std::vector<char*> nullTerminated(QList<QByteArray>& strings) {
    std::vector<char*> pointers;
    for (QByteArray& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

std::unique_ptr<ChildProcess> ChildProcess::start(const QByteArray& program,
                                                  const QList<QByteArray>& arguments, int socketNumber) {
    unreaped().reap();
    std::array<int, 2> pair{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair.data()) != 0)
        return nullptr;
    ScopedFileDescriptor ours(pair[0]);
    const ScopedFileDescriptor theirs(pair[1]);

    const SpawnActions actions(theirs.get(), socketNumber);
    const SpawnAttributes attributes;
    QList<QByteArray> argumentStrings = QList<QByteArray>{program} + arguments;
    QList<QByteArray> environmentStrings = minimalEnvironment();
    const std::vector<char*> argumentPointers = nullTerminated(argumentStrings);
    const std::vector<char*> environmentPointers = nullTerminated(environmentStrings);
    pid_t processId = 0;
    if (const int error = ::posix_spawn(&processId, program.constData(), actions.get(), attributes.get(),
                                        argumentPointers.data(), environmentPointers.data())) {
        errno = error;
        return nullptr;
    }
    return std::unique_ptr<ChildProcess>(new ChildProcess(processId, std::move(ours)));
}

ChildProcess::ChildProcess(pid_t processId, ScopedFileDescriptor socket)
    : _processId(processId), _socket(std::move(socket)) {
}

/// The second figure of /proc/PID/statm, see proc(5): in pages.
std::uint64_t ChildProcess::residentBytes() const {
    const QByteArray path = "/proc/" + QByteArray::number(_processId) + "/statm";
    const ScopedFileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    std::array<char, 128> text{};
    if (::read(file.get(), text.data(), text.size() - 1) <= 0)
        return 0;
    const QList<QByteArray> figures = QByteArray(text.data()).split(' ');
    return figures.value(1).toULongLong() * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

ChildProcess::~ChildProcess() {
    ::kill(-_processId, SIGKILL);
    ::kill(_processId, SIGKILL);
    if (!awaitEnd(_processId))
        unreaped().add(_processId);
    unreaped().reap();
}

}  // namespace platform
