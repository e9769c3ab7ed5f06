// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

/// What is fuzzed: functions that read bytes of others' making. A target registers itself by its definition
/// at namespace scope.
namespace fuzzing {

struct Target {
    using Seeds = std::vector<QByteArray> (*)();
    using Examine = void (*)(const QByteArray& bytes);

    Target(const char* itsName, Seeds itsSeeds, Examine itsExamine)
        : name(itsName), seeds(itsSeeds), examine(itsExamine) {
        all().push_back(this);
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    const char* name;
    Seeds seeds;      ///< well-formed examples to start from
    Examine examine;  ///< reads the bytes; ends the process where something is wrong

    static std::vector<const Target*>& all() {
        static std::vector<const Target*> targets;
        return targets;
    }
    static const Target* named(std::string_view name) {
        for (const Target* target : all())
            if (name == target->name)
                return target;
        return nullptr;
    }
};

/// What must hold for any bytes.
inline void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

}  // namespace fuzzing
