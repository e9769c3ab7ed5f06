// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/Attempts.h"

#include "decoder/protocol/Protocol.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace decoder {

namespace {

using platform::ScopedFileDescriptor;

Stage::UnixAddress unixAddress(const std::string& name) {
    Stage::UnixAddress result;
    result.address.sun_family = AF_UNIX;
    std::memcpy(result.address.sun_path, name.data(),
                std::min(name.size(), sizeof result.address.sun_path - 1));
    result.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return result;
}

template <typename Address>
const sockaddr* generic(const Address& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

template <typename Address>
ScopedFileDescriptor listener(int family, const Address& address, socklen_t size) {
    ScopedFileDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.isValid() || ::bind(socket.get(), generic(address), size) != 0 ||
        ::listen(socket.get(), 8) != 0)
        return ScopedFileDescriptor();
    return socket;
}

template <typename Address>
bool connects(int family, const Address& address, socklen_t size) {
    const ScopedFileDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return socket.isValid() && ::connect(socket.get(), generic(address), size) == 0;
}

bool opens(const std::string& path, int flags) {
    return ScopedFileDescriptor(::open(path.c_str(), flags | O_CLOEXEC, 0600)).isValid();
}

bool sendsDatagram(const Stage& stage) {
    const ScopedFileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return socket.isValid() &&
           ::sendto(socket.get(), "x", 1, MSG_NOSIGNAL, generic(stage.tcp), sizeof stage.tcp) == 1;
}

bool forks(const Stage& /*stage*/) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    return child > 0;
}

/// Ends with success where it works.
bool executes(const Stage& /*stage*/) {
    ::execl("/bin/true", "true", nullptr);
    return false;
}

bool readsMemory(const Stage& stage) {
    std::uint64_t room = 0;
    const iovec local{&room, sizeof room};
    const iovec remote{const_cast<Stage*>(&stage),
                       sizeof room};  // where it lies in the other process as well
    return ::process_vm_readv(stage.process, &local, 1, &remote, 1, 0) > 0;
}

bool maps(std::size_t bytes, int protection) {
    return ::mmap(nullptr, bytes, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0) !=
           MAP_FAILED;
}

bool makesMemory(off_t bytes) {
    const ScopedFileDescriptor memory(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    return memory.isValid() && ::ftruncate(memory.get(), bytes) == 0 && sealMemory(memory.get());
}

bool opensHundredDescriptors(const Stage& /*stage*/) {
    std::array<ScopedFileDescriptor, 100> descriptors;
    for (ScopedFileDescriptor& descriptor : descriptors) {
        descriptor = ScopedFileDescriptor(::memfd_create("test", MFD_CLOEXEC));
        if (!descriptor.isValid())
            return false;
    }
    return true;
}

bool runsThread(const Stage& /*stage*/) {
    pthread_t thread{};
    int sent = 0;
    void* answer = nullptr;
    const auto sendBack = [](void* what) {
        return what;
    };
    return ::pthread_create(&thread, nullptr, sendBack, &sent) == 0 && ::pthread_join(thread, &answer) == 0 &&
           answer == &sent;
}

constexpr std::size_t kMiB = std::size_t{1} << 20;
constexpr Protections kBoth = kFileRights | kSystemCallFilter;
constexpr Protections kFilter = kSystemCallFilter;
constexpr Protections kLimits = 0;

constexpr Attempt foiledBy(Protections protections, const char* name, bool (*tryIt)(const Stage&),
                           int fileRightsVersion = 1) {
    return {name, protections, fileRightsVersion, false, tryIt};
}
constexpr Attempt work(const char* name, bool (*tryIt)(const Stage&)) {
    return {name, 0, 0, true, tryIt};
}

constexpr std::array kAttempts{
    foiledBy(kBoth, "read a file", [](const Stage& s) { return opens(s.file, O_RDONLY); }),
    foiledBy(kBoth, "list a folder", [](const Stage& s) { return opens(s.folder, O_RDONLY | O_DIRECTORY); }),
    foiledBy(kBoth, "write a file", [](const Stage& s) { return opens(s.file, O_WRONLY); }),
    foiledBy(kBoth, "make a file",
             [](const Stage& s) { return opens(s.folder + "/new", O_WRONLY | O_CREAT); }),
    foiledBy(
        kBoth, "truncate a file", [](const Stage& s) { return ::truncate(s.file.c_str(), 1) == 0; }, 3),
    foiledBy(kBoth, "rename a file",
             [](const Stage& s) { return std::rename(s.file.c_str(), (s.folder + "/file2").c_str()) == 0; }),
    foiledBy(kBoth, "make a folder",
             [](const Stage& s) { return ::mkdir((s.folder + "/sub").c_str(), 0700) == 0; }),
    foiledBy(
        kBoth, "connect by TCP", [](const Stage& s) { return connects(AF_INET, s.tcp, sizeof s.tcp); }, 4),
    foiledBy(kFilter, "send by UDP", sendsDatagram),
    foiledBy(kFilter, "connect to a program of the session",
             [](const Stage& s) { return connects(AF_UNIX, s.named.address, s.named.size); }),
    foiledBy(
        kBoth, "connect to an abstract socket",
        [](const Stage& s) { return connects(AF_UNIX, s.abstract.address, s.abstract.size); }, 6),
    foiledBy(kBoth, "remove a file", [](const Stage& s) { return ::unlink(s.socketFile.c_str()) == 0; }),
    foiledBy(kFilter, "start a process", forks),
    foiledBy(kBoth, "execute a program", executes),
    foiledBy(kBoth, "trace the parent",
             [](const Stage& s) { return ::ptrace(PTRACE_SEIZE, s.process, nullptr, nullptr) == 0; }),
    foiledBy(kBoth, "read the parent's memory", readsMemory),
    // One that the parent does not notice; the right to it is the right to any.
    foiledBy(
        kBoth, "signal the parent", [](const Stage& s) { return ::kill(s.process, SIGURG) == 0; }, 6),
    foiledBy(kFilter, "make code",
             [](const Stage&) { return maps(4096, PROT_READ | PROT_WRITE | PROT_EXEC); }),
    foiledBy(kFilter, "become readable to others",
             [](const Stage&) { return ::prctl(PR_SET_DUMPABLE, 1) == 0; }),
    foiledBy(kFilter, "enter a namespace", [](const Stage&) { return ::unshare(CLONE_NEWUSER) == 0; }),
    foiledBy(kLimits, "take 4 GiB", [](const Stage&) { return maps(4096 * kMiB, PROT_READ | PROT_WRITE); }),
    foiledBy(kLimits, "answer with 1 GiB", [](const Stage&) { return makesMemory(1024 * kMiB); }),
    foiledBy(kLimits, "open 100 descriptors", opensHundredDescriptors),
    work("take 1 GiB", [](const Stage&) { return maps(1024 * kMiB, PROT_READ | PROT_WRITE); }),
    work("answer with 256 MiB", [](const Stage&) { return makesMemory(256 * kMiB); }),
    work("run a thread", runsThread),
};

}  // namespace

std::unique_ptr<const Stage> Stage::make() {
    constexpr std::size_t kLongest = 64;  // so that a socket's address has room for a name in it
    const char* wanted = std::getenv("TMPDIR");
    const bool isUsable = wanted && *wanted == '/' && std::strlen(wanted) <= kLongest;
    const std::string place = isUsable ? wanted : "/tmp";
    std::unique_ptr<Stage> stage(new Stage);
    if (stage->makeFolder(place) && stage->listen())
        return stage;
    std::perror(("tavlin-decoder: the test has no place in " + place + ", or no socket").c_str());
    return nullptr;
}

Stage::Stage() : process(::getpid()) {
}

bool Stage::makeFolder(const std::string& place) {
    std::string name = place + "/tavlin-decoder-XXXXXX";
    if (!::mkdtemp(name.data()))
        return false;
    folder = name;
    file = folder + "/file";
    const ScopedFileDescriptor made(::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    return ::write(made.get(), "content", 7) == 7;
}

/// Each is reached once, as what fails by itself says nothing of what foils it.
bool Stage::listen() {
    tcp.sin_family = AF_INET;
    tcp.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    _tcpListener = listener(AF_INET, tcp, sizeof tcp);
    socklen_t size = sizeof tcp;
    if (!_tcpListener.isValid() ||
        ::getsockname(_tcpListener.get(), reinterpret_cast<sockaddr*>(&tcp), &size) != 0 ||
        !connects(AF_INET, tcp, sizeof tcp))
        return false;
    socketFile = folder + "/socket";
    named = unixAddress(socketFile);
    _namedListener = listener(AF_UNIX, named.address, named.size);
    if (!_namedListener.isValid() || !connects(AF_UNIX, named.address, named.size))
        return false;
    abstract = unixAddress('\0' + folder);
    _abstractListener = listener(AF_UNIX, abstract.address, abstract.size);
    return _abstractListener.isValid() && connects(AF_UNIX, abstract.address, abstract.size);
}

Stage::~Stage() {
    if (folder.empty())
        return;
    for (const char* name : {"/file", "/file2", "/new", "/socket"})
        ::unlink((folder + name).c_str());
    ::rmdir((folder + "/sub").c_str());
    ::rmdir(folder.c_str());
}

std::span<const Attempt> allAttempts() {
    return kAttempts;
}

}  // namespace decoder
