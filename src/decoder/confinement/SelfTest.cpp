// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/SelfTest.h"

#include "decoder/confinement/Attempts.h"
#include "decoder/confinement/Confinement.h"
#include "decoder/confinement/FileRights.h"
#include "decoder/confinement/Limits.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace decoder {

namespace {

/// What is held against an attempt.
struct Hold {
    bool limits = true;
    Protections protections = kAllProtections;
    bool isOneOfSeveral = false;  ///< it alone is tested, by what it must foil
};

std::optional<Hold> holdOf(std::string_view option) {
    if (option.empty())
        return Hold{};
    if (option == "--unconfined")
        return Hold{false, 0, false};
    if (option == "--only-file-rights")
        return Hold{false, kFileRights, true};
    if (option == "--only-system-call-filter")
        return Hold{false, kSystemCallFilter, true};
    return std::nullopt;
}

enum class Outcome { succeeded, failed, notHeld };

/// In a process of its own; one that is killed has failed.
Outcome outcomeOf(const Attempt& attempt, const Hold& hold, const Stage& stage) {
    constexpr int kNotHeld = 2;
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        if (hold.limits)
            setLimits();
        // Nothing may be missing where one is tested alone; else what is there has to do.
        if (const Protections held = confine(hold.protections);
            hold.isOneOfSeveral && held != hold.protections)
            ::_exit(kNotHeld);
        ::_exit(attempt.tryIt(stage) ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child)
        return Outcome::notHeld;
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotHeld)
        return Outcome::notHeld;
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS ? Outcome::succeeded : Outcome::failed;
}

/// Whether the attempt says anything about what is tested.
bool counts(const Attempt& attempt, const Hold& hold) {
    if (!hold.isOneOfSeveral || attempt.isWork)
        return true;
    if ((attempt.foiledBy & hold.protections) == 0)
        return false;
    return hold.protections != kFileRights || fileRightsVersion() >= attempt.fileRightsVersion;
}

}  // namespace

int selfTest(std::string_view option) {
    const auto hold = holdOf(option);
    if (!hold) {
        std::fputs(
            "usage: tavlin-decoder --self-test [--unconfined | --only-file-rights | "
            "--only-system-call-filter]\n",
            stderr);
        return kMisused;
    }
    if (!canBeConfined()) {
        std::puts("this decoder was built with a sanitizer and is not confined");
        return kCannotBeTested;
    }
    const auto stage = Stage::make();
    if (!stage)
        return kNoPlace;
    int wrong = 0;
    for (const Attempt& attempt : allAttempts()) {
        if (!counts(attempt, *hold))
            continue;
        const Outcome outcome = outcomeOf(attempt, *hold, *stage);
        if (outcome == Outcome::notHeld) {
            std::puts("the kernel lacks what is to be tested");
            return kCannotBeTested;
        }
        const bool succeeded = outcome == Outcome::succeeded;
        const bool right = succeeded == attempt.isWork;
        std::printf("%-5s %s: %s\n", right ? "ok" : "WRONG", attempt.name, succeeded ? "succeeds" : "fails");
        wrong += right ? 0 : 1;
    }
    return wrong == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace decoder
