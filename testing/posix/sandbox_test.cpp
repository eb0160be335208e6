// What a host process may do in its sandbox. The tests use child processes that enter it, and real host processes.
#include "host/sandbox.h"

#include <orvane/host.h>

#include "host/posix_call_filter.h"
#include "testing/posix/in_child.h"
#include "testing/support/host_fixture.h"
#include "testing/support/temporary_folder.h"
#include "testing/support/tiny_models.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/fs.h>
#include <linux/futex.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <linux/sockios.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>

namespace Orvane {
namespace {

using namespace Testing;

// The outcome of a call: "done", or the name of its error.
std::string Outcome(long result) {
    return result >= 0 ? "done" : strerrorname_np(errno);
}

std::string Open(const std::string& path, int flags) {
    return Outcome(open(path.c_str(), flags | O_CLOEXEC, 0600));
}

// True if a process of this user may have a filter for system calls.
bool KernelHasFilters() {
    return End(Fork([] {
               sock_filter allow = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
               const sock_fprog filter{1, &allow};
               prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
               _exit(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &filter) == 0 ? 0 : 1);
           })) == "exit 0";
}
const char* const kNoFilters = "this kernel has no filters for system calls, or the container forbids them";

class Sandbox : public HostFixture {
 protected:
    // Runs `work` in a child process that has entered the sandbox with `params`.
    static void Inside(const std::function<void()>& work, const InterpreterParams& params = {}) {
        InChild([&] {
            EnterSandbox(params);
            work();
        });
    }
};

class SandboxFilter : public Sandbox {
 protected:
    void SetUp() override {
        if (!KernelHasFilters()) {
            GTEST_SKIP() << kNoFilters;
        }
    }

    // The outcome of a system call. Arguments that are not given are -1: a call that is not refused does no harm, and
    // mostly fails with another error. If the call makes a child process, the child ends at once.
    static std::string Try(long number, long a = -1, long b = -1, long c = -1, long d = -1, long e = -1) {
        const pid_t self = getpid();
        const long result = syscall(number, a, b, c, d, e, -1L);
        if (getpid() != self) {
            _exit(0);
        }
        return Outcome(result);
    }
    static std::string Try(std::vector<long> words) {
        words.resize(6, -1);
        return Try(words[0], words[1], words[2], words[3], words[4], words[5]);
    }
};

TEST_F(SandboxFilter, RefusesCalls) {
    constexpr long kFileMode = 452;    // `fchmodat2` of Linux 6.6
    constexpr long kMemorySeal = 462;  // `mseal` of Linux 6.10, younger than the filter
    constexpr long kOtherGetPid = SYS_getpid | 0x4000'0000;
    const auto list = [](auto... numbers) { return std::vector<long>{numbers...}; };
    const std::vector<long> calls =
        list(SYS_socket, SYS_connect, SYS_sendmsg, SYS_recvfrom, SYS_shutdown, SYS_setsockopt, SYS_process_vm_writev,
             SYS_process_madvise, SYS_process_mrelease, SYS_pidfd_open, SYS_pidfd_getfd, SYS_pidfd_send_signal,
             SYS_tkill, SYS_rt_sigqueueinfo, SYS_rt_tgsigqueueinfo, SYS_kcmp, SYS_migrate_pages, SYS_setpgid,
             SYS_setsid, SYS_setpriority, SYS_sched_setscheduler, SYS_sched_setparam, SYS_sched_setattr, SYS_ioprio_set,
             SYS_shmat, SYS_shmctl, SYS_semop, SYS_msgsnd, SYS_mq_open, SYS_mq_unlink, SYS_mq_notify, SYS_mount,
             SYS_umount2, SYS_move_mount, SYS_fsopen, SYS_pivot_root, SYS_chroot, SYS_unshare, SYS_setns, SYS_swapon,
             SYS_quotactl, SYS_open_by_handle_at, SYS_name_to_handle_at, SYS_truncate, SYS_chmod, SYS_fchmod, kFileMode,
             SYS_fchown, SYS_setxattr, SYS_utimensat, SYS_unlink, SYS_renameat2, SYS_link, SYS_symlinkat, SYS_mkdir,
             SYS_mknod, SYS_flock, SYS_inotify_init1, SYS_fanotify_init, SYS_sync, SYS_syncfs, SYS_splice, SYS_vmsplice,
             SYS_sendfile, SYS_copy_file_range, SYS_io_submit, SYS_setuid, SYS_setresgid, SYS_capset, SYS_add_key,
             SYS_keyctl, SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup, SYS_memfd_secret,
             SYS_personality, SYS_modify_ldt, SYS_seccomp, SYS_init_module, SYS_finit_module, SYS_kexec_load,
             SYS_reboot, SYS_iopl, SYS_ioperm, SYS_syslog, SYS_clock_settime, SYS_sethostname, kOtherGetPid);
    Inside([&] {
        for (const long number : calls) {
            const bool isForReports = kInstrumented && (number == SYS_unlink || number == SYS_mkdir);
            EXPECT_EQ(Try(number), isForReports ? "EFAULT" : "EPERM") << "call " << number;
        }
        EXPECT_EQ(Try(kMemorySeal), "ENOSYS");
        EXPECT_EQ(Try(SYS_clone3), "ENOSYS");
        EXPECT_EQ(prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0), 1);
        // Tests of models in a host process show what the runtime needs, but would not detect a refusal of these calls.
        cpu_set_t processors;
        EXPECT_EQ(Outcome(sched_getaffinity(0, sizeof processors, &processors)), "done");
        EXPECT_EQ(Outcome(sched_setaffinity(0, sizeof processors, &processors)), "done");
        EXPECT_EQ(Outcome(kill(getpid(), 0)), "done");
    });
}

struct Call {
    std::vector<long> words;  // the number and the arguments
    const char* harm;
};

// The arguments are real: without the filter, each of these calls has the effect written beside it, or has it for the
// superuser.
TEST_F(SandboxFilter, RefusesArgumentsThatReachOtherProcesses) {
    Inside([] {
        const long parent = getppid();
        constexpr long kPage = 4096;
        const void* const page = mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(page, MAP_FAILED);
        const auto shared = reinterpret_cast<long>(page);
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        int number = static_cast<int>(parent);
        const auto pointer = reinterpret_cast<long>(&number);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(0, &one);
        const Call calls[] = {
            {{SYS_kill, parent, 0}, "a signal to the client"},
            {{SYS_kill, 0, 0}, "a signal to the process group"},
            {{SYS_tgkill, parent, parent, 0}, "a signal to a thread of the client"},
            {{SYS_prlimit64, parent, RLIM_NLIMITS, 0, 0}, "limits of the client"},
            {{SYS_sched_setaffinity, parent, sizeof one, reinterpret_cast<long>(&one)}, "processors of the client"},
            {{SYS_move_pages, parent, 0, 0, 0, 0}, "memory of the client"},
            {{SYS_madvise, shared, kPage, MADV_REMOVE}, "the client ends by SIGBUS"},
            {{SYS_madvise, shared, kPage, MADV_PAGEOUT}, "the client loses pages"},
            {{SYS_madvise, shared, kPage, MADV_MERGEABLE}, "pages in common with other processes"},
            {{SYS_madvise, shared, kPage, MADV_HWPOISON}, "memory of the machine"},
            {{SYS_futex, shared, FUTEX_REQUEUE, 1, 1, shared + 4}, "a waiter of the client sleeps elsewhere"},
            {{SYS_futex, shared, FUTEX_CMP_REQUEUE, 1, 1, shared + 4}, "the same"},
            {{SYS_ioctl, STDIN_FILENO, TIOCSTI, pointer}, "input for the shell"},
            {{SYS_ioctl, STDIN_FILENO, TIOCLINUX, pointer}, "the console's selection"},
            {{SYS_ioctl, STDIN_FILENO, TCSETS, pointer}, "the client's terminal"},
            {{SYS_ioctl, STDIN_FILENO, TIOCSPGRP, pointer}, "the terminal's foreground process"},
            {{SYS_ioctl, STDIN_FILENO, FIONBIO, pointer}, "the client's reads fail"},
            {{SYS_ioctl, ends[0], FIOASYNC, pointer}, "signals to the client"},
            {{SYS_ioctl, ends[0], FIOSETOWN, pointer}, "signals to the client"},
            {{SYS_ioctl, ends[0], SIOCSPGRP, pointer}, "signals to the client"},
            {{SYS_ioctl, ends[0], FS_IOC_SETFLAGS, pointer}, "attributes of a file"},
            {{SYS_ioctl, ends[0], FS_IOC_FSSETXATTR, pointer}, "attributes of a file"},
            {{SYS_ioctl, ends[0], FICLONE, STDIN_FILENO}, "contents of a file"},
        };
        for (const Call& call : calls) {
            EXPECT_EQ(Try(call.words), "EPERM") << call.harm << ": call " << call.words[0];
        }
        EXPECT_EQ(Try(SYS_futex, shared, FUTEX_WAKE, 1), "done") << "events need this call";
        EXPECT_EQ(Try(SYS_futex, shared, FUTEX_REQUEUE | FUTEX_PRIVATE_FLAG, 0, 0, shared + 4), "done");
        EXPECT_EQ(Try(SYS_madvise, shared, kPage, MADV_HUGEPAGE), "done");
    });
}

TEST_F(SandboxFilter, RefusesNewProcessesAndTheClientsDescriptors) {
    if (kInstrumented) {
        GTEST_SKIP() << "the reports of sanitizers need these calls";
    }
    const TemporaryFolder folder;
    InChild([&] {
        const int log = open(folder.Path("log").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        ASSERT_EQ(dup2(log, STDIN_FILENO), STDIN_FILENO);
        ASSERT_EQ(write(log, "lines", 5), 5);
        EnterSandbox({});
        const long parent = getppid();
        constexpr long kThread = CLONE_THREAD | CLONE_SIGHAND | CLONE_VM;
        constexpr long kPage = 4096;
        f_owner_ex owner{F_OWNER_PID, static_cast<pid_t>(parent)};
        struct flock whole {};
        whole.l_type = F_WRLCK;
        const auto lock = reinterpret_cast<long>(&whole);
        const Call calls[] = {
            {{SYS_fork}, "a process"},
            {{SYS_clone, SIGCHLD, 0, 0, 0, 0}, "a process"},
            {{SYS_clone, kThread | CLONE_NEWUSER, 0, 0, 0, 0}, "a namespace"},
            {{SYS_execve}, "a program"},
            {{SYS_execveat}, "a program"},
            {{SYS_ptrace}, "memory of a process"},
            {{SYS_wait4}, "a process"},
            {{SYS_prctl, PR_SET_PDEATHSIG, 0}, "the host outlives the client"},
            {{SYS_prctl, PR_SET_DUMPABLE, 1}, "memory of this process"},
            {{SYS_prctl, PR_SET_PTRACER, parent}, "memory of this process"},
            {{SYS_prctl, PR_SCHED_CORE, 1, parent}, "processors of the client"},
            {{SYS_prctl, PR_SET_CHILD_SUBREAPER, 1}, "children of others"},
            {{SYS_fcntl, log, F_SETOWN, parent}, "signals to the client"},
            {{SYS_fcntl, log, F_SETOWN_EX, reinterpret_cast<long>(&owner)}, "signals to the client"},
            {{SYS_fcntl, log, F_SETSIG, SIGKILL}, "other signals to the client"},
            {{SYS_fcntl, log, F_SETFL, O_ASYNC}, "signals to the foreground of a terminal"},
            {{SYS_fcntl, STDIN_FILENO, F_SETFL, O_NONBLOCK}, "the client's reads fail"},
            {{SYS_fcntl, log, F_SETLEASE, F_WRLCK}, "other processes wait to open the file"},
            {{SYS_fcntl, log, F_NOTIFY, DN_MODIFY}, "reports about a folder"},
            {{SYS_fcntl, log, F_SETLK, lock}, "other processes wait to lock the file"},
            {{SYS_fcntl, log, F_OFD_SETLK, lock}, "other processes wait to lock the file"},
            {{SYS_fcntl, STDIN_FILENO, F_SETPIPE_SZ, kPage}, "the client's pipe"},
            {{SYS_fcntl, STDIN_FILENO, F_DUPFD, 0}, "another descriptor for a file of the client"},
            {{SYS_dup, STDIN_FILENO}, "the same"},
            {{SYS_dup2, STDIN_FILENO, log}, "the same"},
            {{SYS_read, STDIN_FILENO, 0, 0}, "the client's input"},
            {{SYS_preadv, STDIN_FILENO, 0, 0, 0}, "the client's input"},
            {{SYS_lseek, STDIN_FILENO, 0, SEEK_SET}, "the position at which the client writes"},
            {{SYS_pwrite64, STDIN_FILENO, 0, 0, 0}, "what the client wrote"},
            {{SYS_ftruncate, STDIN_FILENO, 0}, "what the client wrote"},
            {{SYS_fallocate, STDIN_FILENO, 0, 0, 1}, "what the client wrote"},
            {{SYS_mmap, 0, kPage, PROT_READ | PROT_WRITE, MAP_SHARED, STDIN_FILENO}, "what the client wrote"},
        };
        for (const Call& call : calls) {
            EXPECT_EQ(Try(call.words), "EPERM") << call.harm << ": call " << call.words[0];
        }
        EXPECT_EQ(prctl(PR_GET_DUMPABLE), 0);
        EXPECT_EQ(Outcome(lseek(log, 0, SEEK_SET)), "done") << "this process opened the file";
        EXPECT_NE(mmap(nullptr, kPage, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, 0, 0), MAP_FAILED)
            << "this maps no file";
    });
}

// The number of `getpid` in the 32-bit table is the number of `writev` in the 64-bit table. Kernels without a 32-bit
// table end the process.
TEST_F(SandboxFilter, RefusesCallsOfTheOtherArchitecture) {
    const auto getpid32 = [] {
        constexpr int kGetPid = 20;
        int result = kGetPid;  // NOLINT(misc-const-correctness): the call below writes it
        __asm__ volatile("int $0x80" : "+a"(result) : : "memory", "r8", "r9", "r10", "r11");
        return result;
    };
    if (End(Fork([&] { _exit(getpid32() == getpid() ? 0 : 1); })) != "exit 0") {
        GTEST_SKIP() << "this kernel has no 32-bit calls";
    }
    Inside([&] { EXPECT_EQ(getpid32(), -EPERM); });
}

TEST_F(SandboxFilter, AppliesToExistingThreads) {
    InChild([] {
        std::promise<void> entered;
        auto other = std::async(std::launch::async, [&entered] {
            entered.get_future().wait();
            return Try(SYS_unshare);
        });
        EnterSandbox({});
        entered.set_value();
        EXPECT_EQ(other.get(), "EPERM");
    });
}

class SandboxFiles : public Sandbox {
 protected:
    void SetUp() override {
        if (kInstrumented || syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) < 1) {
            GTEST_SKIP() << "this kernel has no Landlock, the container forbids it, or the build writes its coverage";
        }
    }

    TemporaryFolder cacheFolder;
    TemporaryFolder otherFolder;
};

TEST_F(SandboxFiles, WritesOnlyInTheFolderOfTheCache) {
    InterpreterParams params;
    params.openvinoMakeCache = true;
    const std::string cache = params.openvinoCachePath = cacheFolder.Path("缓存.blob");
    const std::string other = otherFolder.Write("other", "there");
    std::filesystem::create_symlink(other, cacheFolder.Path("link"));
    const int inherited = open(otherFolder.Path("open").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);

    const auto expectElsewhereRefused = [&] {
        const std::string fresh = otherFolder.Path("fresh");
        EXPECT_EQ(Open(other, O_RDONLY), "done");
        EXPECT_EQ(Open(other, O_RDWR), "EACCES");
        EXPECT_EQ(Open(fresh, O_WRONLY | O_CREAT), "EACCES");
        EXPECT_EQ(Open("/dev/shm/orvane-sandbox-test", O_WRONLY | O_CREAT), "EACCES");
        EXPECT_NE(Outcome(mkdir(fresh.c_str(), 0700)), "done");
        EXPECT_NE(Outcome(unlink(other.c_str())), "done");
        EXPECT_NE(Outcome(rename(other.c_str(), fresh.c_str())), "done");
        EXPECT_EQ(Outcome(write(inherited, "open", 4)), "done");
    };
    Inside(
        [&] {
            expectElsewhereRefused();
            for (const int flags : {O_CREAT | O_EXCL, O_TRUNC}) {
                EXPECT_EQ(Open(cache, O_WRONLY | flags), "done") << flags;
            }
            EXPECT_EQ(Open(cacheFolder.Path("link"), O_WRONLY), "EACCES") << "a link out of the folder";
            EnterSandbox({});  // a second model without a cache removes no right
            EXPECT_EQ(Open(cache, O_WRONLY | O_TRUNC), "done");
        },
        params);
    std::filesystem::remove(cache);
    params.openvinoMakeCache = false;
    Inside(
        [&] {
            expectElsewhereRefused();
            EXPECT_EQ(Open(cache, O_WRONLY | O_CREAT), "EACCES");
        },
        params);
    close(inherited);
    EXPECT_EQ(cacheFolder.Names(), std::vector<std::string>{"link"});
    EXPECT_EQ(otherFolder.Names(), (std::vector<std::string>{"open", "other"}));
}

// Initialises one host process several times.
TEST_F(Sandbox, FiltersCallsOnlyForAModelOnTheCpu) {
    const auto filtersOf = [](uint32_t process) { return InStatus(process, "Seccomp_filters"); };
    const std::string before = filtersOf(static_cast<uint32_t>(getpid()));
    const auto filtersWith = [&](const char* device) {
        InterpreterParams params = Params("echo 4");
        params.openvinoDevice = device;
        EXPECT_EQ(Shown(remote->Init(params)), kOk) << device;
        const uint32_t host = Children().at(0);
        EXPECT_EQ(InStatus(host, "NoNewPrivs"), "1") << device;
        return std::stoi(filtersOf(host)) - std::stoi(before);
    };
    EXPECT_EQ(filtersWith("GPU"), 0);
    if (before.empty() || !KernelHasFilters()) {
        GTEST_SKIP() << kNoFilters << ", or it does not count them";
    }
    EXPECT_EQ(filtersWith("CPU"), 1);
    EXPECT_EQ(filtersWith(""), 1) << "a second filter would make each call slower";
    EXPECT_EQ(filtersWith("GPU"), 1);
}

TEST_F(SandboxFiles, LoadsAModelWhoseCacheItCannotWrite) {
    InterpreterParams params = Params(AddModel({10}).WriteTo(otherFolder, "model"), "", HostPathBesideProgram());
    const std::vector<std::string> before = otherFolder.Names();
    params.openvinoMakeCache = true;
    for (const std::string& cache :
         {cacheFolder.Path("first"), otherFolder.Path("elsewhere"), cacheFolder.Path("second")}) {
        params.openvinoCachePath = cache;
        EXPECT_EQ(Shown(remote->Init(params)), kOk);
        EXPECT_EQ(remote->GetTensorCount(TensorTypeInput), 1);
    }
    EXPECT_EQ(Children().size(), 1U) << "the same host loaded all models";
    EXPECT_EQ(otherFolder.Names(), before);
    EXPECT_EQ(cacheFolder.Names(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(SandboxFiles, WritesACacheThroughLinksIntoAnotherFolder) {
    std::filesystem::create_symlink("next", otherFolder.Path("link"));
    std::filesystem::create_symlink(cacheFolder.Path("缓存"), otherFolder.Path("next"));
    InterpreterParams params = Params(AddModel({10}).WriteTo(otherFolder, "model"), "", HostPathBesideProgram());
    params.openvinoMakeCache = true;
    params.openvinoCachePath = otherFolder.Path("link");
    EXPECT_EQ(Shown(remote->Init(params)), kOk);
    EXPECT_EQ(cacheFolder.Names(), std::vector<std::string>{"缓存"});
}

}  // namespace
}  // namespace Orvane
