// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// What this process holds of the system; the same before and after work that leaks nothing. Source: proc(5).
struct Census {
    int descriptors = 0;
    int children = 0;
    int threads = 0;

    static Census taken();
    bool operator==(const Census&) const = default;
    QString description() const;
};
