// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/RunningInstance.h"

#include "platform/PathBytes.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <optional>
#include <thread>

namespace platform {

namespace {

using namespace std::chrono_literals;

/// How long one that has the lock may take until it listens.
constexpr auto startLasts = 1s;

QByteArray meetingPlace() {
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    if (!folder.startsWith('/'))
        return {};
    QByteArray display = qgetenv("WAYLAND_DISPLAY") + qgetenv("DISPLAY");
    std::ranges::replace(display, '/', '_');
    return folder + "/tavlin" + display;
}

/// Nothing for a path that is too long for a socket.
std::optional<sockaddr_un> addressOf(const QByteArray& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof(address.sun_path))
        return std::nullopt;
    std::ranges::copy(path, address.sun_path);
    return address;
}

ScopedFileDescriptor datagramSocket() {
    return ScopedFileDescriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

bool send(const QByteArray& socketPath, const QByteArray& message) {
    const auto address = addressOf(socketPath);
    const ScopedFileDescriptor socket = datagramSocket();
    return address &&
           ::sendto(socket.get(), message.constData(), static_cast<std::size_t>(message.size()), MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) == message.size();
}

}  // namespace

std::unique_ptr<RunningInstance> RunningInstance::become(const QString& folder) {
    const QByteArray place = meetingPlace();
    const QByteArray socketPath = place + ".socket";
    ScopedFileDescriptor lock;
    if (!place.isEmpty()) {
        lock.reset(::open((place + ".lock").constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        const auto isFirst = [&] {
            return !lock.isValid() || ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
        };
        const auto patienceEnds = std::chrono::steady_clock::now() + startLasts;
        while (!isFirst()) {
            if (send(socketPath, bytesFromPath(folder)))
                return nullptr;
            if (std::chrono::steady_clock::now() > patienceEnds) {
                lock.reset();
                break;
            }
            std::this_thread::sleep_for(20ms);
        }
    }
    return std::unique_ptr<RunningInstance>(new RunningInstance(std::move(lock), socketPath));
}

RunningInstance::RunningInstance(ScopedFileDescriptor lock, const QByteArray& socketPath)
    : _lock(std::move(lock)), _socketPath(socketPath) {
    if (_lock.isValid())
        listen();
}

RunningInstance::~RunningInstance() {
    if (_socket.isValid())
        ::unlink(_socketPath.constData());
}

void RunningInstance::listen() {
    const auto address = addressOf(_socketPath);
    ScopedFileDescriptor socket = datagramSocket();
    if (!address || !socket.isValid())
        return;
    ::unlink(_socketPath.constData());
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) != 0)
        return;
    _socket = std::move(socket);
    auto* notifier = new QSocketNotifier(_socket.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &RunningInstance::receive);
}

void RunningInstance::receive() {
    std::array<char, PATH_MAX> message{};
    const ssize_t size = ::recv(_socket.get(), message.data(), message.size(), 0);
    if (size < 0)
        return;
    const QString folder = pathFromBytes(QByteArrayView(message.data(), size));
    Q_EMIT asked(folder.startsWith(u'/') ? folder : QString());
}

}  // namespace platform
