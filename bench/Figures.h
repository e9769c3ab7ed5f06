// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

/// What the benchmarks share: clocks, medians, and the rows of the table that bench/run prints.
namespace bench {

/// At least this many rounds stand behind each median.
constexpr int rounds = 5;

/// Whether the caller wants the short form: smaller folders, and nothing that fills a disk.
inline bool isShort() {
    return std::getenv("TAVLIN_BENCH_SHORT") != nullptr;
}

inline double wallMilliseconds() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// The processor's time of a clock such as CLOCK_THREAD_CPUTIME_ID: what else runs on the machine does not
/// count.
inline double clockMilliseconds(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}
inline double threadMilliseconds() {
    return clockMilliseconds(CLOCK_THREAD_CPUTIME_ID);
}
inline double processMilliseconds() {
    return clockMilliseconds(CLOCK_PROCESS_CPUTIME_ID);
}

/// 1000000 as "1,000,000".
inline std::string withCommas(long number) {
    std::string text = std::to_string(number);
    for (auto at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), ",");
    return text;
}

/// The value below which `part` of the values lie.
inline double quantile(std::vector<double> values, double part) {
    const auto at = static_cast<std::size_t>(std::lround(part * static_cast<double>(values.size() - 1)));
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at), values.end());
    return values[at];
}
inline double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

/// Rows of the table (Markdown), printed as they come; the program's exit status says whether all limits
/// held.
class Figures {
 public:
    /// `ours` and `floor` were measured in turns; the ratio is that of their medians.
    void ratio(const std::string& what, const std::vector<double>& ours, const std::vector<double>& floor,
               std::optional<double> limit, const char* unit = "ms") {
        const double mine = median(ours);
        const double least = median(floor);
        std::printf("| %s | %s | %s | %.2f | ", what.c_str(), text(mine, unit).c_str(),
                    text(least, unit).c_str(), mine / least);
        if (limit)
            std::printf("%.2f × | %s |\n", *limit, verdict(mine / least <= *limit));
        else
            std::puts("| |");
        std::fflush(stdout);
    }
    void atMost(const std::string& what, double ours, double limit, const char* unit) {
        std::printf("| %s | %s | | | %s | %s |\n", what.c_str(), text(ours, unit).c_str(),
                    text(limit, unit).c_str(), verdict(ours <= limit));
        std::fflush(stdout);
    }
    void atLeast(const std::string& what, double ours, double floor, double limit) {
        std::printf("| %s | %.2f × | %.2f × | %.2f | ≥ %.2f | %s |\n", what.c_str(), ours, floor,
                    ours / floor, limit, verdict(ours >= limit));
        std::fflush(stdout);
    }
    /// A figure without a limit.
    static void note(const std::string& what, double ours, const char* unit) {
        std::printf("| %s | %s | | | | |\n", what.c_str(), text(ours, unit).c_str());
        std::fflush(stdout);
    }
    int exitStatus() const { return _allHeld ? EXIT_SUCCESS : EXIT_FAILURE; }

 private:
    static std::string text(double value, const char* unit) {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer,
                      value >= 100  ? "%.0f %s"
                      : value >= 10 ? "%.1f %s"
                                    : "%.2f %s",
                      value, unit);
        return buffer;
    }
    const char* verdict(bool holds) {
        _allHeld = _allHeld && holds;
        return holds ? "held" : "**missed**";
    }
    bool _allHeld = true;
};

}  // namespace bench
