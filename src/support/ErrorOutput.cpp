// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ErrorOutput.h"

#include "platform/FileAccess.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <system_error>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto handsOnEvery = 100ms;
constexpr qsizetype mostKept = 16384;  // bytes

/// For the calling thread: where nobody reads the program's error stream any more, writing to it just fails.
void blockAllSignals() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

ErrorOutput::ErrorOutput() : _file(::memfd_create("errors", MFD_CLOEXEC)) {
    if (!_file.isValid())
        return;
    try {
        _thread = std::thread([this] {
            blockAllSignals();
            handOnUntilDone();
        });
    } catch (const std::system_error&) {
        _file.reset();
    }
}

ErrorOutput::~ErrorOutput() {
    take();
}

/// Opened anew, for appending: the command may write from several processes.
QByteArray ErrorOutput::redirection() const {
    if (!_thread.joinable())
        return {};
    const QByteArray file =
        "/proc/" + QByteArray::number(::getpid()) + "/fd/" + QByteArray::number(_file.get());
    return ::access(file.constData(), W_OK) == 0 ? "exec 2>>" + file + '\n' : QByteArray();
}

QByteArray ErrorOutput::take() {
    if (!_thread.joinable())
        return std::exchange(_beginning, {});
    {
        const std::lock_guard lock(_mutex);
        _isDone = true;
    }
    _done.notify_one();
    _thread.join();
    return std::exchange(_beginning, {});
}

void ErrorOutput::handOnUntilDone() {
    std::unique_lock lock(_mutex);
    while (!_done.wait_for(lock, handsOnEvery, [this] { return _isDone; })) {
        lock.unlock();
        handOn();
        lock.lock();
    }
    handOn();
}

void ErrorOutput::handOn() {
    std::array<char, 65536> block;
    for (;;) {
        const ssize_t got = ::pread(_file.get(), block.data(), block.size(), _position);
        if (got <= 0)
            break;
        _position += got;
        platform::writeWhole(STDERR_FILENO, QByteArrayView(block.data(), got));
        _beginning.append(block.data(), std::min<qsizetype>(got, mostKept - _beginning.size()));
    }
    // What has been handed on takes no memory; the command goes on appending where it was.
    if (_position > 0)
        ::fallocate(_file.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, _position);
}
