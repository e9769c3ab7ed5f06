// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <utility>

namespace platform {

/// Logs an exception that ended at the guard (category tavlin.guard).
void reportGuardedException(const char* where, const char* what);

/// Every call from platform/ into a data source, a delegate or an action passes here: what is thrown ends
/// that one call, is logged, and `neutral` is the answer. Nothing is ever thrown through Qt or GLib.
template <typename Result, typename Function>
Result guarded(const char* where, Result neutral, Function&& function) {
    try {
        return std::forward<Function>(function)();
    } catch (const std::exception& e) {
        reportGuardedException(where, e.what());
    } catch (...) {
        reportGuardedException(where, "an exception of no known kind");
    }
    return neutral;
}

/// The same for a call that answers nothing.
template <typename Function>
void guarded(const char* where, Function&& function) {
    guarded(where, 0, [&] {
        std::forward<Function>(function)();
        return 0;
    });
}

}  // namespace platform
