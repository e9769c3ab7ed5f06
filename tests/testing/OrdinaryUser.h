// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QtGlobal>

/// Makes a test that root has started act as a user with no privileges, as root may do anything: so do the
/// programs it starts. Root comes back for the mounts alone. A test that an ordinary user has started stays
/// as it is.
class OrdinaryUser {
 public:
    static constexpr unsigned kId = 65534;

    /// Before any thread is there.
    static void become() {
        if (::getuid() != 0)
            return;
        ::syscall(SYS_setgroups, 0, nullptr);
        change(kId);
    }

    /// At the end of a test, for good: the leak checker may not look into a process that could be root again.
    static void end() {
        if (Root::isKept())
            change(0);
    }

    /// While one lives, the calling thread (and it alone) is root again, if it ever was.
    class Root {
     public:
        Root() {
            if (_isKept)
                change(0);
        }
        ~Root() {
            if (_isKept)
                change(kId);
        }
        Root(const Root&) = delete;
        Root& operator=(const Root&) = delete;

        /// Whether root can come back.
        static bool isKept() {
            unsigned real = 0;
            unsigned effective = 0;
            unsigned saved = 1;
            ::syscall(SYS_getresuid, &real, &effective, &saved);
            return real != 0 && saved == 0;
        }

     private:
        const bool _isKept = isKept();
    };

 private:
    /// By the bare calls, as the library's would change every thread.
    static void change(unsigned id) {
        bool isDone = id != 0 || ::syscall(SYS_setresuid, 0, 0, 0) == 0;
        isDone = ::syscall(SYS_setresgid, id, id, id) == 0 && isDone;
        isDone = (id == 0 || ::syscall(SYS_setresuid, id, id, 0) == 0) && isDone;
        if (!isDone)
            qFatal("the test could not become user %u", id);
        ::prctl(PR_SET_DUMPABLE, 1);  // the leak checker looks into its own process
    }
};
