// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/ErrorOutput.h"

#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "platform/TemporaryFolder.h"

#include <fcntl.h>
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

ErrorOutput::ErrorOutput() {
    const QString folder = platform::temporaryFolder();
    if (folder.isNull())
        return;
    _path = platform::bytesFromPath(folder) + "errors.tmp";
    ::unlink(_path.constData());
    _file = platform::ScopedFileDescriptor(
        ::open(_path.constData(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!_file.isValid())
        return;
    try {
        _thread = std::thread([this] {
            blockAllSignals();
            handOnUntilDone();
        });
    } catch (const std::system_error&) {
        ::unlink(_path.constData());
    }
}

ErrorOutput::~ErrorOutput() {
    take();
}

QByteArray ErrorOutput::redirection() const {
    if (!_thread.joinable())
        return {};
    QByteArray quoted = _path;
    quoted.replace('\'', "'\\''");
    return "exec 2>>'" + quoted + "'\n";
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
    ::unlink(_path.constData());
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
            return;
        _position += got;
        platform::writeWhole(STDERR_FILENO, QByteArrayView(block.data(), got));
        _beginning.append(block.data(), std::min<qsizetype>(got, mostKept - _beginning.size()));
    }
}
