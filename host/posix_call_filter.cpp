// The filter is a list of what is refused, and not of what is allowed. The runtime is a third party's: with its next
// release, on another processor or with more memory nodes it may make calls that nobody has seen here, and a model that
// stops running is worse for a user than a call that nobody thought of. The price: the list must name each call that
// does harm. What keeps that price low is that calls younger than the list do not exist for the host, as on an older
// kernel.
//
// The instructions are written down here instead of by libseccomp: they are few, that library is not on every user's
// machine, and linking it statically would hand its LGPL on to everybody who ships the host.
#include "host/posix_call_filter.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace Orvane {

namespace {

// Waiting for another thread: the calls of every inference, decided first.
constexpr uint32_t kFrequent[] = {SYS_futex, SYS_sched_yield};

constexpr uint32_t kFchmodat2 = 452;  // younger than the headers of some systems

// clang-format off
constexpr uint32_t kRefused[] = {
    // the network, also by descriptors that were inherited
    SYS_socket, SYS_socketpair, SYS_connect, SYS_bind, SYS_listen, SYS_accept, SYS_accept4, SYS_sendto,
    SYS_sendmsg, SYS_sendmmsg, SYS_recvfrom, SYS_recvmsg, SYS_recvmmsg,
    // other processes
    SYS_process_vm_readv, SYS_process_vm_writev, SYS_process_madvise, SYS_process_mrelease, SYS_pidfd_open,
    SYS_pidfd_getfd, SYS_pidfd_send_signal, SYS_tkill, SYS_rt_sigqueueinfo, SYS_rt_tgsigqueueinfo, SYS_kcmp,
    SYS_migrate_pages, SYS_setpgid, SYS_setsid, SYS_shmget, SYS_msgget, SYS_semget, SYS_mq_open, SYS_mq_unlink,
    // namespaces and the tree of files
    SYS_unshare, SYS_setns, SYS_chroot, SYS_pivot_root, SYS_mount, SYS_umount2, SYS_mount_setattr,
    SYS_move_mount, SYS_open_tree, SYS_fsopen, SYS_fsconfig, SYS_fsmount, SYS_fspick, SYS_swapon, SYS_swapoff,
    SYS_acct, SYS_quotactl, SYS_quotactl_fd, SYS_name_to_handle_at, SYS_open_by_handle_at, SYS_fanotify_init,
    SYS_fanotify_mark,
    // what Landlock has no right for
    SYS_truncate, SYS_chmod, SYS_fchmod, SYS_fchmodat, kFchmodat2, SYS_chown, SYS_fchown, SYS_lchown,
    SYS_fchownat, SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr, SYS_removexattr, SYS_lremovexattr,
    SYS_fremovexattr, SYS_utime, SYS_utimes, SYS_futimesat, SYS_utimensat,
    // rights
    SYS_setuid, SYS_setgid, SYS_setreuid, SYS_setregid, SYS_setresuid, SYS_setresgid, SYS_setfsuid,
    SYS_setfsgid, SYS_setgroups, SYS_capset, SYS_add_key, SYS_request_key, SYS_keyctl,
    // parts of the kernel that often were a way into it
    SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup, SYS_io_uring_enter,
    SYS_io_uring_register, SYS_personality, SYS_modify_ldt, SYS_vmsplice, SYS_lookup_dcookie,
    // the machine
    SYS_init_module, SYS_finit_module, SYS_delete_module, SYS_kexec_load, SYS_kexec_file_load, SYS_reboot,
    SYS_iopl, SYS_ioperm, SYS_syslog, SYS_vhangup, SYS_settimeofday, SYS_clock_settime, SYS_adjtimex,
    SYS_clock_adjtime, SYS_sethostname, SYS_setdomainname, SYS_uselib, SYS_nfsservctl, SYS__sysctl,
};
// clang-format on

// New processes and programs, and debugging.
constexpr uint32_t kRefusedUnlessInstrumented[] = {SYS_execve, SYS_execveat, SYS_fork, SYS_vfork, SYS_ptrace};

constexpr uint32_t kX32Bit = 0x4000'0000;  // of the numbers of a second set of calls
constexpr uint32_t kFirstYounger = 457;    // Linux 6.7 ends before it
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

// Answers when the word loaded last compares so (BPF_JEQ, BPF_JGE; BPF_JSET for a bit in common).
void AnswerIf(Instructions& filter, uint16_t comparison, uint32_t word, uint32_t answer) {
    filter.push_back(BPF_JUMP(BPF_JMP | comparison | BPF_K, word, 0, 1));
    Answer(filter, answer);
}

// Answers for `call` by the low half of an argument, which is all that the kernel reads of those asked about here.
struct Case {
    uint16_t comparison;
    uint32_t word;
    uint32_t answer;
};
void AnswerByArgument(Instructions& filter, uint32_t call, size_t argument, std::initializer_list<Case> cases,
                      uint32_t otherwise) {
    Instructions answers;
    Load(answers, offsetof(seccomp_data, args) + argument * sizeof(uint64_t));
    for (const auto& [comparison, word, answer] : cases) {
        AnswerIf(answers, comparison, word, answer);
    }
    Answer(answers, otherwise);
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, static_cast<uint8_t>(answers.size())));
    filter.insert(filter.end(), answers.begin(), answers.end());
}

Instructions MakeFilter() {
    Instructions filter;
    Load(filter, offsetof(seccomp_data, arch));
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AUDIT_ARCH_X86_64, 1, 0));
    Answer(filter, kRefuse);  // the numbers of 32-bit calls mean something else
    Load(filter, offsetof(seccomp_data, nr));
    for (const uint32_t call : kFrequent) {
        AnswerIf(filter, BPF_JEQ, call, kAllow);
    }
    AnswerIf(filter, BPF_JGE, kX32Bit, kRefuse);
    AnswerIf(filter, BPF_JGE, kFirstYounger, kNoSuchCall);
    for (const uint32_t call : kRefused) {
        AnswerIf(filter, BPF_JEQ, call, kRefuse);
    }
    AnswerByArgument(filter, SYS_ioctl, 1, {{BPF_JEQ, TIOCSTI, kRefuse}, {BPF_JEQ, TIOCLINUX, kRefuse}}, kAllow);
    AnswerByArgument(filter, SYS_prlimit64, 0, {{BPF_JEQ, 0, kAllow}}, kRefuse);
    const auto self = static_cast<uint32_t>(getpid());
    AnswerByArgument(filter, SYS_kill, 0, {{BPF_JEQ, self, kAllow}}, kRefuse);
    AnswerByArgument(filter, SYS_tgkill, 0, {{BPF_JEQ, self, kAllow}}, kRefuse);
    if (!kInstrumented) {
        for (const uint32_t call : kRefusedUnlessInstrumented) {
            AnswerIf(filter, BPF_JEQ, call, kRefuse);
        }
        // Threads only. A filter cannot read the flags of `clone3`; the C library takes `clone` where there is none.
        AnswerIf(filter, BPF_JEQ, SYS_clone3, kNoSuchCall);
        AnswerByArgument(filter, SYS_clone, 0, {{BPF_JSET, kNamespaces, kRefuse}, {BPF_JSET, CLONE_THREAD, kAllow}},
                         kRefuse);
        // The host goes on to die with its client, and its memory is not to be read by others.
        AnswerByArgument(filter, SYS_prctl, 0,
                         {{BPF_JEQ, PR_SET_PDEATHSIG, kRefuse}, {BPF_JEQ, PR_SET_DUMPABLE, kRefuse}}, kAllow);
    }
    Answer(filter, kAllow);
    return filter;
}

}  // namespace

void FilterSystemCalls() {
    Instructions instructions = MakeFilter();
    const sock_fprog filter{static_cast<uint16_t>(instructions.size()), instructions.data()};
    // Before Linux 5.16 a filter also turns off a speculation of the processor, for programs that run code of
    // strangers, and every inference would pay. A host runs none: models are data. Before 4.17 there is no such word.
    constexpr uint64_t kAllThreads = SECCOMP_FILTER_FLAG_TSYNC;
    for (const uint64_t flags : {kAllThreads | SECCOMP_FILTER_FLAG_SPEC_ALLOW, kAllThreads}) {
        if (syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter) == 0) {
            return;
        }
    }
}

}  // namespace Orvane
