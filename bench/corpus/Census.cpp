// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/Census.h"

#include <QThread>
#include <QThreadPool>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace {

int entriesOf(const char* folder) {
    std::error_code error;
    int count = 0;
    for (auto entry = std::filesystem::directory_iterator(folder, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        ++count;
    return count;
}

/// Those that have ended and are not waited for are still there. Not every kernel keeps a list of children,
/// so each process is asked for its parent.
int childrenOf(pid_t parent) {
    std::error_code error;
    int count = 0;
    for (auto entry = std::filesystem::directory_iterator("/proc", error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::ifstream file(entry->path() / "stat");
        std::string line;
        if (!std::getline(file, line))
            continue;
        const auto afterName = line.rfind(')');  // a name may hold anything
        if (afterName == std::string::npos || afterName + 4 >= line.size())
            continue;
        if (std::atoi(line.c_str() + afterName + 4) == parent)
            ++count;
    }
    return count;
}

Census taken() {
    return {entriesOf("/proc/self/fd"), childrenOf(::getpid()), entriesOf("/proc/self/task")};
}

}  // namespace

Census Census::atRest() {
    constexpr auto aWhile = 50;  // milliseconds
    QThreadPool::globalInstance()->waitForDone();
    Census last = taken();
    for (;;) {
        QThread::msleep(aWhile);
        const Census now = taken();
        if (now == last)
            return now;
        last = now;
    }
}

QString Census::description() const {
    return QStringLiteral("%1 descriptors, %2 child processes, %3 threads")
        .arg(descriptors)
        .arg(children)
        .arg(threads);
}
