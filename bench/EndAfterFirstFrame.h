// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "bench/Figures.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

/// Ends the process when its window has been painted, before anything that waits for that; or, with
/// TAVLIN_BENCH_MEMORY set, when it has come to rest. Prints when that was, by the clock that all processes
/// share (an end takes the kernel as long again where files were watched), and the megabytes that are in
/// memory of it, those it shares with others included.
class EndAfterFirstFrame : public QObject {
 public:
    explicit EndAfterFirstFrame(QWidget& window) : QObject(&window) { qApp->installEventFilter(this); }

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        using namespace std::chrono_literals;
        if (watched == parent() && event->type() == QEvent::Paint && !std::exchange(_isPainted, true))
            QTimer::singleShot(qEnvironmentVariableIsSet("TAVLIN_BENCH_MEMORY") ? 1500ms : 0ms, this, [] {
                std::printf("%f\n%f\n", bench::wallMilliseconds(), residentMegabytes());
                std::fflush(stdout);
                std::_Exit(EXIT_SUCCESS);
            });
        return false;
    }

 private:
    static double residentMegabytes() {
        long pages = 0;
        long resident = 0;
        std::ifstream("/proc/self/statm") >> pages >> resident;
        return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
    }
    bool _isPainted = false;
};
