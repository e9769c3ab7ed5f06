// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/TerminationSignals.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

namespace platform {

namespace {

constexpr std::array terminationSignals = {SIGTERM, SIGINT, SIGHUP};
std::atomic<int> pipeForHandler = -1;

void noteSignal(int /*signal*/) {
    const int savedErrno = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(pipeForHandler.load(), &byte, 1);
    errno = savedErrno;
}

}  // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    _readEnd = ScopedFileDescriptor(ends[0]);
    _writeEnd = ScopedFileDescriptor(ends[1]);
    pipeForHandler = ends[1];
    auto* notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false);
        Q_EMIT received();
    });
    for (const int signal : terminationSignals) {
        struct sigaction previous = {};
        struct sigaction action = {};
        action.sa_handler = noteSignal;
        action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
        if (::sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : terminationSignals) {
        struct sigaction previous = {};
        if (::sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler == noteSignal)
            ::signal(signal, SIG_DFL);
    }
    pipeForHandler = -1;
}

}  // namespace platform
