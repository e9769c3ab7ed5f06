// SPDX-License-Identifier: GPL-3.0-or-later
// What a log call costs while the log is off: the median of several rounds of a million calls, as they stand
// in the walk over a folder. Bound: 80 ns a call on one thread. The figures of two threads at once, where the
// store's lock is contended, are printed for comparison only.
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <thread>

namespace {

constexpr int callCount = 1'000'000;
constexpr double bound = 80;  // nanoseconds

double nanosecondsPerCall() {
    const QString path = QStringLiteral("/home/someone/Pictures/2023/IMG_0001.jpg");
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < callCount; ++i)
        logWithMethodName("-[ImageBrowserDataSource reloadWithPath:]", 120, u"path: %@ (%i)", path, i);
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / callCount;
}

double medianOfRounds() {
    std::array<double, 7> rounds{};
    std::generate(rounds.begin(), rounds.end(), nanosecondsPerCall);
    std::nth_element(rounds.begin(), rounds.begin() + rounds.size() / 2, rounds.end());
    return rounds[rounds.size() / 2];
}

}  // namespace

int main() {
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->plausibilitaetsTest();
    const double alone = medianOfRounds();
    double together = 0;
    {
        std::jthread other(medianOfRounds);
        together = medianOfRounds();
    }
    std::printf("log off, one thread   %6.1f ns a call (bound %.0f)\n", alone, bound);
    std::printf("log off, two threads  %6.1f ns a call\n", together);
    return alone <= bound ? 0 : 1;
}
