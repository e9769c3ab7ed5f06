// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/SystemCallFilter.h"

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>
#include <memory>

namespace decoder {

namespace {

struct Release {
    void operator()(void* context) const { ::seccomp_release(context); }
};

/// The rules, before the kernel has them. A call that this machine's kind of processor does not have cannot
/// be ruled about and need not be.
class Rules {
 public:
    Rules() : _context(::seccomp_init(SCMP_ACT_ERRNO(ENOSYS))) {}

    void allow(std::initializer_list<int> calls) { addAll(SCMP_ACT_ALLOW, calls); }
    void refuse(int error, std::initializer_list<int> calls) {
        addAll(SCMP_ACT_ERRNO(static_cast<unsigned>(error)), calls);
    }
    void kill(std::initializer_list<int> calls) { addAll(SCMP_ACT_KILL_PROCESS, calls); }
    void allowWhere(int call, scmp_arg_cmp condition) { add(SCMP_ACT_ALLOW, call, {condition}); }
    void refuseWhere(int error, int call, scmp_arg_cmp condition) {
        add(SCMP_ACT_ERRNO(static_cast<unsigned>(error)), call, {condition});
    }

    /// Hands the rules to the kernel, for all threads.
    bool load() {
        constexpr unsigned kAsTree = 2;  // looks a call up in logarithmic time
        if (!_context || ::seccomp_attr_set(_context.get(), SCMP_FLTATR_CTL_TSYNC, 1) != 0)
            return false;
        ::seccomp_attr_set(_context.get(), SCMP_FLTATR_CTL_OPTIMIZE, kAsTree);
        return ::seccomp_load(_context.get()) == 0;
    }

 private:
    void addAll(std::uint32_t action, std::initializer_list<int> calls) {
        for (const int call : calls)
            add(action, call, {});
    }
    void add(std::uint32_t action, int call, std::initializer_list<scmp_arg_cmp> conditions) {
        if (_context)
            ::seccomp_rule_add_array(_context.get(), action, call, static_cast<unsigned>(conditions.size()),
                                     conditions.begin());
    }

    std::unique_ptr<void, Release> _context;
};

constexpr scmp_arg_cmp is(unsigned argument, scmp_datum_t value) {
    return {argument, SCMP_CMP_EQ, value, 0};
}
constexpr scmp_arg_cmp has(unsigned argument, scmp_datum_t bit) {
    return {argument, SCMP_CMP_MASKED_EQ, bit, bit};
}
constexpr scmp_arg_cmp hasNot(unsigned argument, scmp_datum_t bit) {
    return {argument, SCMP_CMP_MASKED_EQ, bit, 0};
}

/// Requests come in and answers go out by descriptors that are open; pictures go out in memory made here.
void allowDescriptors(Rules& rules) {
    rules.allow({SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(readv), SCMP_SYS(preadv), SCMP_SYS(write),
                 SCMP_SYS(writev), SCMP_SYS(lseek), SCMP_SYS(_llseek), SCMP_SYS(close), SCMP_SYS(fstat),
                 SCMP_SYS(fstat64), SCMP_SYS(fadvise64), SCMP_SYS(poll), SCMP_SYS(ppoll), SCMP_SYS(recvmsg),
                 SCMP_SYS(sendmsg), SCMP_SYS(memfd_create), SCMP_SYS(ftruncate)});
    for (const int command : {F_GETFD, F_SETFD, F_GETFL, F_DUPFD_CLOEXEC, F_ADD_SEALS, F_GET_SEALS})
        rules.allowWhere(SCMP_SYS(fcntl), is(1, static_cast<scmp_datum_t>(command)));
    // The C library's fstat() is this call with an empty path. That it is empty cannot be told here.
    rules.allowWhere(SCMP_SYS(newfstatat), has(3, AT_EMPTY_PATH));
    rules.refuseWhere(EACCES, SCMP_SYS(newfstatat), hasNot(3, AT_EMPTY_PATH));
}

/// Memory as much as the limits have it, but none that is executed: no code comes in any more.
void allowMemory(Rules& rules) {
    rules.allow({SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise), SCMP_SYS(brk)});
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mmap2), SCMP_SYS(mprotect)}) {
        rules.allowWhere(call, hasNot(2, PROT_EXEC));
        rules.refuseWhere(EACCES, call, has(2, PROT_EXEC));
    }
}

/// Some loaders use threads, and the toolkit's have event loops, which wake by an eventfd. clone3 has its
/// flags in memory, where they cannot be looked at: without it, as the rest of the calls is by default, the C
/// library takes clone.
void allowThreads(Rules& rules) {
    rules.allowWhere(SCMP_SYS(clone), has(0, CLONE_THREAD));
    rules.refuseWhere(EPERM, SCMP_SYS(clone), hasNot(0, CLONE_THREAD));
    rules.refuse(ENOSYS, {SCMP_SYS(clone3)});
    rules.allow({SCMP_SYS(futex), SCMP_SYS(set_robust_list), SCMP_SYS(rseq), SCMP_SYS(membarrier),
                 SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity), SCMP_SYS(getcpu), SCMP_SYS(eventfd2),
                 SCMP_SYS(pipe2)});
    rules.allowWhere(SCMP_SYS(prctl), is(0, PR_SET_NAME));
    rules.refuseWhere(EPERM, SCMP_SYS(prctl), {0, SCMP_CMP_NE, PR_SET_NAME, 0});
}

/// To end, by abort() as well, which signals a thread of this very process.
void allowEnding(Rules& rules) {
    rules.allow({SCMP_SYS(exit), SCMP_SYS(exit_group), SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask),
                 SCMP_SYS(rt_sigreturn), SCMP_SYS(sigaltstack), SCMP_SYS(restart_syscall)});
    const auto self = static_cast<scmp_datum_t>(::getpid());
    rules.allowWhere(SCMP_SYS(tgkill), is(0, self));
    rules.refuseWhere(EPERM, SCMP_SYS(tgkill), {0, SCMP_CMP_NE, self, 0});
}

/// What tells nothing that a picture could make use of.
void allowHarmless(Rules& rules) {
    rules.allow({SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(clock_nanosleep),
                 SCMP_SYS(nanosleep), SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(times),
                 SCMP_SYS(getrusage), SCMP_SYS(getrandom), SCMP_SYS(sysinfo), SCMP_SYS(uname),
                 SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(getuid), SCMP_SYS(geteuid), SCMP_SYS(getgid),
                 SCMP_SYS(getegid)});
}

/// Libraries try these and go on without: look for a file of settings, ask what a descriptor is. statx has no
/// place among the allowed as its path may be any; the toolkit then takes fstat.
void refuseGracefully(Rules& rules) {
    rules.refuse(EACCES, {SCMP_SYS(open),     SCMP_SYS(openat),    SCMP_SYS(openat2),    SCMP_SYS(creat),
                          SCMP_SYS(access),   SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(stat),
                          SCMP_SYS(lstat),    SCMP_SYS(readlink),  SCMP_SYS(readlinkat), SCMP_SYS(getcwd),
                          SCMP_SYS(statfs),   SCMP_SYS(unlink),    SCMP_SYS(unlinkat),   SCMP_SYS(rename),
                          SCMP_SYS(renameat), SCMP_SYS(renameat2), SCMP_SYS(mkdir),      SCMP_SYS(mkdirat),
                          SCMP_SYS(socket),   SCMP_SYS(connect),   SCMP_SYS(bind)});
    rules.refuse(EPERM, {SCMP_SYS(kill), SCMP_SYS(tkill), SCMP_SYS(prlimit64), SCMP_SYS(setrlimit),
                         SCMP_SYS(setpriority), SCMP_SYS(fork), SCMP_SYS(vfork)});
    rules.refuse(ENOTSOCK, {SCMP_SYS(getpeername), SCMP_SYS(getsockname), SCMP_SYS(getsockopt)});
    rules.refuse(ENOTTY, {SCMP_SYS(ioctl)});
    rules.refuse(ENOSYS, {SCMP_SYS(statx)});
}

/// No picture asks for these. Who does has taken the process over.
void killIntruders(Rules& rules) {
    rules.kill({SCMP_SYS(execve),
                SCMP_SYS(execveat),
                SCMP_SYS(ptrace),
                SCMP_SYS(process_vm_readv),
                SCMP_SYS(process_vm_writev),
                SCMP_SYS(pidfd_getfd),
                SCMP_SYS(pidfd_send_signal),
                SCMP_SYS(mount),
                SCMP_SYS(umount2),
                SCMP_SYS(chroot),
                SCMP_SYS(pivot_root),
                SCMP_SYS(setns),
                SCMP_SYS(unshare),
                SCMP_SYS(bpf),
                SCMP_SYS(perf_event_open),
                SCMP_SYS(userfaultfd),
                SCMP_SYS(io_uring_setup),
                SCMP_SYS(keyctl),
                SCMP_SYS(add_key),
                SCMP_SYS(request_key),
                SCMP_SYS(init_module),
                SCMP_SYS(finit_module),
                SCMP_SYS(kexec_load),
                SCMP_SYS(open_by_handle_at)});
}

}  // namespace

bool filterSystemCalls() {
    Rules rules;
    allowDescriptors(rules);
    allowMemory(rules);
    allowThreads(rules);
    allowEnding(rules);
    allowHarmless(rules);
    refuseGracefully(rules);
    killIntruders(rules);
    return rules.load();
}

}  // namespace decoder
