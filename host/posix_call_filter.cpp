// The filter is a list of allowed calls. It is generous: it contains every call whose effect stays within the process,
// even if the runtime does not make that call today. The runtime is a third party's. Its next release, another
// processor or more memory nodes may need the call. The filter refuses every other call, so a call that was overlooked
// does no harm. Calls newer than the list do not exist for the host process, as on an older kernel.
//
// Some allowed calls can still reach outside the process. For each of them the list says why it is allowed, and what
// limits it. "Landlock" means that posix_sandbox.cpp decides which files the call may change.
//
// This file writes the instructions itself and does not use libseccomp. They are few, not every user's machine has that
// library, and a static link would apply its LGPL to every application that ships the host program.
#include "host/posix_call_filter.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <vector>

namespace Orvane {

namespace {

// Newer than the headers of some systems.
constexpr uint32_t kMapShadowStack = 453;

// clang-format off
constexpr uint32_t kAllowed[] = {
    // The memory of this process. For memory shared with the client, `mbind`, `set_mempolicy_home_node` and
    // `move_pages` can also choose the node. The runtime places its tensors with them. The data do not change.
    SYS_mprotect, SYS_pkey_mprotect, SYS_pkey_alloc, SYS_pkey_free, SYS_munmap, SYS_mremap, SYS_brk, SYS_msync,
    SYS_mincore, SYS_mlock, SYS_mlock2, SYS_munlock, SYS_mlockall, SYS_munlockall, SYS_membarrier, SYS_memfd_create,
    kMapShadowStack, SYS_mbind, SYS_set_mempolicy, SYS_get_mempolicy, SYS_set_mempolicy_home_node,

    // Its threads. The kernel writes to the words that `rseq`, `set_robust_list` and `set_tid_address` name, but only
    // with the rights of the thread.
    SYS_exit, SYS_exit_group, SYS_gettid, SYS_set_tid_address, SYS_set_robust_list, SYS_rseq, SYS_arch_prctl,
    SYS_getcpu,

    // Its signals and timers. Only this process receives a timer's signal.
    SYS_rt_sigaction, SYS_rt_sigprocmask, SYS_rt_sigreturn, SYS_rt_sigpending, SYS_rt_sigtimedwait, SYS_rt_sigsuspend,
    SYS_sigaltstack, SYS_restart_syscall, SYS_pause, SYS_alarm, SYS_getitimer, SYS_setitimer, SYS_timer_create,
    SYS_timer_settime, SYS_timer_gettime, SYS_timer_getoverrun, SYS_timer_delete, SYS_nanosleep, SYS_clock_nanosleep,
    SYS_clock_gettime, SYS_clock_getres, SYS_gettimeofday, SYS_time, SYS_times,

    // Information about this process and the machine. Some calls also return it for other processes, as /proc does.
    SYS_getpid, SYS_getppid, SYS_getpgid, SYS_getpgrp, SYS_getsid, SYS_getuid, SYS_geteuid, SYS_getgid, SYS_getegid,
    SYS_getresuid, SYS_getresgid, SYS_getgroups, SYS_capget, SYS_getpriority, SYS_ioprio_get, SYS_sched_getaffinity,
    SYS_sched_getparam, SYS_sched_getscheduler, SYS_sched_getattr, SYS_sched_get_priority_max,
    SYS_sched_get_priority_min, SYS_sched_rr_get_interval, SYS_getrlimit, SYS_setrlimit, SYS_getrusage, SYS_uname,
    SYS_sysinfo, SYS_getrandom,

    // Looking for files. The host process may read whatever its user may, because models and libraries may be anywhere.
    SYS_stat, SYS_lstat, SYS_fstat, SYS_newfstatat, SYS_statx, SYS_statfs, SYS_fstatfs, SYS_access, SYS_faccessat,
    SYS_faccessat2, SYS_readlink, SYS_readlinkat, SYS_getxattr, SYS_lgetxattr, SYS_fgetxattr, SYS_listxattr,
    SYS_llistxattr, SYS_flistxattr, SYS_getcwd, SYS_chdir, SYS_fchdir, SYS_umask,

    // Opening files, also to write them: Landlock. If the host process reads a terminal, a device or a fifo, another
    // reader misses that input. Neither Landlock nor a filter can distinguish those from other files.
    SYS_open, SYS_openat, SYS_openat2, SYS_creat, SYS_close, SYS_close_range,

    // Writing, also to the standard output and error, which the host process shares with the client. Libraries report
    // fatal errors there.
    SYS_write, SYS_writev,

    // Waiting, and descriptors that only this process has.
    SYS_poll, SYS_ppoll, SYS_select, SYS_pselect6, SYS_epoll_create, SYS_epoll_create1, SYS_epoll_ctl, SYS_epoll_wait,
    SYS_epoll_pwait, SYS_epoll_pwait2, SYS_eventfd, SYS_eventfd2, SYS_timerfd_create, SYS_timerfd_settime,
    SYS_timerfd_gettime, SYS_signalfd, SYS_signalfd4, SYS_pipe, SYS_pipe2,
};

// Allowed for descriptors that the host process has opened itself. It shares the standard three with the client. If the
// host process read them, it would take the client's input. It could also choose where the client writes next, and how
// long its file is. No allowed call gives them another number.
constexpr uint32_t kAllowedForOwnDescriptors[] = {
    SYS_read, SYS_readv, SYS_pread64, SYS_preadv, SYS_preadv2, SYS_pwrite64, SYS_pwritev, SYS_pwritev2, SYS_lseek,
    SYS_getdents, SYS_getdents64, SYS_readahead, SYS_fadvise64, SYS_fsync, SYS_fdatasync, SYS_ftruncate,
    SYS_fallocate,
};

// The reports of sanitizers and of coverage start programs, stop threads from another process and write files.
constexpr uint32_t kAllowedIfInstrumented[] = {
    SYS_execve, SYS_execveat, SYS_fork, SYS_vfork, SYS_clone, SYS_wait4, SYS_waitid, SYS_ptrace, SYS_prctl, SYS_fcntl,
    SYS_dup, SYS_dup2, SYS_dup3, SYS_mmap, SYS_mkdir, SYS_mkdirat, SYS_rename, SYS_renameat, SYS_unlink, SYS_unlinkat,
    SYS_process_vm_readv,
};
// clang-format on

constexpr uint32_t kX32Bit = 0x4000'0000;  // this bit marks the numbers of a second set of calls
constexpr uint32_t kFirstYounger = 457;    // the first number after Linux 6.7
constexpr uint32_t kNamespaces =
    CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET;

constexpr uint32_t kAllow = SECCOMP_RET_ALLOW;
constexpr uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;
constexpr uint32_t kNoSuchCall = SECCOMP_RET_ERRNO | ENOSYS;

using Instructions = std::vector<sock_filter>;

void Load(Instructions& filter, size_t offset) {
    filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset)));
}

void Answer(Instructions& filter, uint32_t answer) {
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, answer));
}

// Returns `answer` if the word loaded last matches (BPF_JEQ, BPF_JGE; BPF_JSET for a common bit).
void AnswerIf(Instructions& filter, uint16_t comparison, uint32_t word, uint32_t answer) {
    filter.push_back(BPF_JUMP(BPF_JMP | comparison | BPF_K, word, 0, 1));
    Answer(filter, answer);
}

// The answer for a value of an argument's low half. The kernel reads only that half of the arguments checked here.
struct Case {
    uint32_t argument;
    uint16_t comparison;
    uint32_t word;
    uint32_t answer;
};

// Decides `call` by the first case that applies, and refuses it if no case does.
void AnswerByArguments(Instructions& filter, uint32_t call, const std::vector<Case>& cases) {
    Instructions answers;
    for (const auto& [argument, comparison, word, answer] : cases) {
        Load(answers, offsetof(seccomp_data, args) + argument * sizeof(uint64_t));
        AnswerIf(answers, comparison, word, answer);
    }
    Answer(answers, kRefuse);
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, static_cast<uint8_t>(answers.size())));
    filter.insert(filter.end(), answers.begin(), answers.end());
}

// Allows the call if the argument is one of `words`.
void AllowOnly(Instructions& filter, uint32_t call, uint32_t argument, std::initializer_list<uint32_t> words) {
    std::vector<Case> cases;
    for (const uint32_t word : words) {
        cases.push_back({argument, BPF_JEQ, word, kAllow});
    }
    AnswerByArguments(filter, call, cases);
}

// A private futex is between threads of this process. At a word in shared memory other processes may wait. There the
// host process may wait and wake. It may not move their waiters to another word, where no wake would reach them.
void AllowFutexes(Instructions& filter) {
    AnswerByArguments(filter, SYS_futex,
                      {{1, BPF_JSET, FUTEX_PRIVATE_FLAG, kAllow},
                       {1, BPF_JEQ, FUTEX_WAIT, kAllow},
                       {1, BPF_JEQ, FUTEX_WAKE, kAllow},
                       {1, BPF_JEQ, FUTEX_WAIT_BITSET, kAllow},
                       {1, BPF_JEQ, FUTEX_WAIT_BITSET | FUTEX_CLOCK_REALTIME, kAllow},
                       {1, BPF_JEQ, FUTEX_WAKE_BITSET, kAllow}});
}

// Calls whose argument decides whether they reach other processes.
void AllowForThisProcess(Instructions& filter) {
    const auto self = static_cast<uint32_t>(getpid());
    AllowOnly(filter, SYS_kill, 0, {self});
    AllowOnly(filter, SYS_tgkill, 0, {self});
    AllowOnly(filter, SYS_prlimit64, 0, {0});
    AllowOnly(filter, SYS_move_pages, 0, {0});
    // The runtime binds each of its threads to processors, from that thread. No allowed call changes a thread's
    // priority, not even its own: a host process of the superuser could leave other processes no time.
    AllowOnly(filter, SYS_sched_setaffinity, 0, {0});
    // Advice about this process's own mappings. Other advice removes pages of a shared file (MADV_REMOVE: the client
    // would end by SIGBUS), moves them out of memory (MADV_PAGEOUT), shares them with other processes (MADV_MERGEABLE),
    // or marks the machine's memory as broken (MADV_HWPOISON).
    AllowOnly(filter, SYS_madvise, 2,
              {MADV_NORMAL, MADV_RANDOM, MADV_SEQUENTIAL, MADV_WILLNEED, MADV_DONTNEED, MADV_FREE, MADV_DONTFORK,
               MADV_DOFORK, MADV_HUGEPAGE, MADV_NOHUGEPAGE, MADV_DONTDUMP, MADV_DODUMP, MADV_WIPEONFORK,
               MADV_KEEPONFORK, MADV_POPULATE_READ, MADV_POPULATE_WRITE});
    // The properties of a terminal, and how much there is to read. Other requests change the client's terminal, type
    // into it, send signals to its processes, or change attributes of files.
    AllowOnly(filter, SYS_ioctl, 1, {TCGETS, TIOCGWINSZ, FIONREAD, FIOCLEX, FIONCLEX});
}

// The same for calls that the reports of instrumented builds need in other ways.
void AllowUnlessForReports(Instructions& filter) {
    constexpr uint32_t kFirstOwnDescriptor = STDERR_FILENO + 1;
    for (const uint32_t call : kAllowedForOwnDescriptors) {
        AnswerByArguments(filter, call, {{0, BPF_JGE, kFirstOwnDescriptor, kAllow}});
    }
    AnswerByArguments(filter, SYS_mmap,
                      {{3, BPF_JSET, MAP_ANONYMOUS, kAllow}, {4, BPF_JGE, kFirstOwnDescriptor, kAllow}});
    // Other commands send signals to other processes (F_SETOWN; on a terminal even F_SETFL with O_ASYNC alone), block a
    // process that opens a file (F_SETLEASE) or locks it (F_SETLK), change how the client reads and writes (F_SETFL,
    // F_SETPIPE_SZ), or give a descriptor another number (F_DUPFD).
    AllowOnly(filter, SYS_fcntl, 1, {F_GETFD, F_SETFD, F_GETFL, F_ADD_SEALS, F_GET_SEALS});
    // Only threads. A filter cannot read the flags of `clone3`; without it the C library uses `clone`.
    AnswerByArguments(filter, SYS_clone, {{0, BPF_JSET, kNamespaces, kRefuse}, {0, BPF_JSET, CLONE_THREAD, kAllow}});
    // For this process. Not allowed: outliving the client (PR_SET_PDEATHSIG), letting other processes inspect this one
    // (PR_SET_DUMPABLE, PR_SET_PTRACER), and sharing a processor with another process (PR_SCHED_CORE).
    AllowOnly(
        filter, SYS_prctl, 0,
        {PR_SET_NAME, PR_GET_NAME, PR_SET_VMA, PR_GET_DUMPABLE, PR_GET_PDEATHSIG, PR_GET_NO_NEW_PRIVS, PR_GET_SECCOMP,
         PR_CAPBSET_READ, PR_SET_TIMERSLACK, PR_GET_TIMERSLACK, PR_SET_THP_DISABLE, PR_GET_THP_DISABLE});
}

// In ascending order, with consecutive numbers together: when the filter starts, the kernel runs it for every number.
void AllowRunsOfCalls(Instructions& filter) {
    std::vector<uint32_t> calls(std::begin(kAllowed), std::end(kAllowed));
    std::sort(calls.begin(), calls.end());
    for (size_t first = 0, next = 0; first < calls.size(); first = next) {
        next = first + 1;
        while (next < calls.size() && calls[next] == calls[next - 1] + 1) {
            ++next;
        }
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, calls[first], 1, 0));
        Answer(filter, kRefuse);
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, calls[next - 1], 1, 0));
        Answer(filter, kAllow);
    }
}

Instructions MakeFilter() {
    Instructions filter;
    Load(filter, offsetof(seccomp_data, arch));
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AUDIT_ARCH_X86_64, 1, 0));
    Answer(filter, kRefuse);  // the numbers of 32-bit calls have other meanings
    Load(filter, offsetof(seccomp_data, nr));
    // The calls that every inference makes come first.
    AllowFutexes(filter);
    AnswerIf(filter, BPF_JEQ, SYS_sched_yield, kAllow);
    AnswerIf(filter, BPF_JGE, kX32Bit, kRefuse);
    AnswerIf(filter, BPF_JGE, kFirstYounger, kNoSuchCall);
    if (kInstrumented) {
        for (const uint32_t call : kAllowedForOwnDescriptors) {
            AnswerIf(filter, BPF_JEQ, call, kAllow);
        }
        for (const uint32_t call : kAllowedIfInstrumented) {
            AnswerIf(filter, BPF_JEQ, call, kAllow);
        }
    } else {
        AllowUnlessForReports(filter);
    }
    AllowForThisProcess(filter);
    AnswerIf(filter, BPF_JEQ, SYS_clone3, kNoSuchCall);
    AllowRunsOfCalls(filter);
    Answer(filter, kRefuse);
    return filter;
}

}  // namespace

void FilterSystemCalls() {
    Instructions instructions = MakeFilter();
    const sock_fprog filter{static_cast<uint16_t>(instructions.size()), instructions.data()};
    // Before Linux 5.16 a filter also turns off a speculation of the processor, as a protection against foreign code,
    // and every inference would be slower. A host process runs no foreign code: models are data. Before 4.17 this flag
    // does not exist.
    constexpr uint64_t kAllThreads = SECCOMP_FILTER_FLAG_TSYNC;
    for (const uint64_t flags : {kAllThreads | SECCOMP_FILTER_FLAG_SPEC_ALLOW, kAllThreads}) {
        if (syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter) == 0) {
            return;
        }
    }
}

}  // namespace Orvane
