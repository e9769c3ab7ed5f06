// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// What this process holds of the system; the same before and after work that leaks nothing. Source: proc(5).
struct Census {
    int descriptors = 0;
    int children = 0;
    int threads = 0;

    /// Once it has been the same for a while: a thread that was joined may be in the system's list for a
    /// moment, and the toolkit's own threads, which scale pictures, are ended first.
    static Census atRest();
    bool operator==(const Census&) const = default;
    QString description() const;
};
