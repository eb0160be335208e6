// What a host may do once it has entered its sandbox, tried in child processes that enter it and in real hosts.
#include "host/sandbox.h"

#include <orvane/host.h>

#include "host/posix_call_filter.h"
#include "testing/posix/in_child.h"
#include "testing/support/host_fixture.h"
#include "testing/support/temporary_folder.h"
#include "testing/support/tiny_models.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>

namespace Orvane {
namespace {

using namespace Testing;

// What a call comes to: "done", or the name of its error.
std::string Outcome(long result) {
    return result >= 0 ? "done" : strerrorname_np(errno);
}

std::string Open(const std::string& path, int flags) {
    return Outcome(open(path.c_str(), flags | O_CLOEXEC, 0600));
}

// Whether a process of this user may have a filter for system calls at all.
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

    // What a system call comes to. Arguments that are not given are -1: a call that is not refused does no harm, and
    // mostly fails with another error. A child process that it makes goes at once.
    static std::string Try(long number, long a = -1, long b = -1, long c = -1, long d = -1, long e = -1) {
        const pid_t self = getpid();
        const long result = syscall(number, a, b, c, d, e, -1L);
        if (getpid() != self) {
            _exit(0);
        }
        return Outcome(result);
    }
};

TEST_F(SandboxFilter, RefusesCalls) {
    constexpr long kFileMode = 452;    // `fchmodat2` of Linux 6.6
    constexpr long kMemorySeal = 462;  // `mseal` of Linux 6.10, younger than the filter
    constexpr long kOtherGetPid = SYS_getpid | 0x4000'0000;
    const auto list = [](auto... numbers) { return std::vector<long>{numbers...}; };
    const std::vector<long> calls =
        list(SYS_socket, SYS_connect, SYS_sendmsg, SYS_process_vm_readv, SYS_process_vm_writev, SYS_pidfd_open,
             SYS_pidfd_getfd, SYS_pidfd_send_signal, SYS_tkill, SYS_mount, SYS_umount2, SYS_move_mount, SYS_fsopen,
             SYS_pivot_root, SYS_chroot, SYS_unshare, SYS_setns, SYS_swapon, SYS_open_by_handle_at,
             SYS_name_to_handle_at, SYS_truncate, SYS_chmod, kFileMode, SYS_setxattr, SYS_setuid, SYS_setresgid,
             SYS_add_key, SYS_keyctl, SYS_bpf, SYS_perf_event_open, SYS_userfaultfd, SYS_io_uring_setup,
             SYS_init_module, SYS_finit_module, SYS_kexec_load, SYS_reboot, SYS_iopl, SYS_ioperm, kOtherGetPid);
    Inside([&] {
        for (const long number : calls) {
            EXPECT_EQ(Try(number), "EPERM") << "call " << number;
        }
        EXPECT_EQ(Try(kMemorySeal), "ENOSYS");
        const pid_t parent = getppid();
        EXPECT_EQ(Try(SYS_kill, parent, 0), "EPERM");
        EXPECT_EQ(Try(SYS_kill, 0, 0), "EPERM");
        EXPECT_EQ(Try(SYS_tgkill, parent, parent, 0), "EPERM");
        EXPECT_EQ(Try(SYS_prlimit64, parent, RLIM_NLIMITS, 0, 0), "EPERM");
        EXPECT_EQ(Try(SYS_ioctl, STDIN_FILENO, TIOCSTI, 0), "EPERM");
        EXPECT_EQ(prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0), 1);
        // What the runtime cannot do without, the tests of models in a host show; this they would not miss.
        cpu_set_t processors;
        EXPECT_EQ(Outcome(sched_getaffinity(0, sizeof processors, &processors)), "done");
        EXPECT_EQ(Outcome(sched_setaffinity(0, sizeof processors, &processors)), "done");
        EXPECT_EQ(Outcome(kill(getpid(), 0)), "done");
    });
}

TEST_F(SandboxFilter, RefusesProcesses) {
    if (kInstrumented) {
        GTEST_SKIP() << "the reports of sanitizers need processes and programs";
    }
    Inside([] {
        constexpr long kThread = CLONE_THREAD | CLONE_SIGHAND | CLONE_VM;
        EXPECT_EQ(Try(SYS_fork), "EPERM");
        EXPECT_EQ(Try(SYS_clone, SIGCHLD, 0, 0, 0, 0), "EPERM");
        EXPECT_EQ(Try(SYS_clone3, -1, 0), "ENOSYS");
        EXPECT_EQ(Try(SYS_clone, kThread | CLONE_NEWUSER, 0, 0, 0, 0), "EPERM");
        for (const long number : {SYS_execve, SYS_execveat, SYS_ptrace}) {
            EXPECT_EQ(Try(number), "EPERM") << "call " << number;
        }
        EXPECT_EQ(Try(SYS_prctl, PR_SET_PDEATHSIG, 0), "EPERM");
        EXPECT_EQ(Try(SYS_prctl, PR_SET_DUMPABLE, 1), "EPERM");
        EXPECT_EQ(prctl(PR_GET_DUMPABLE), 0);
    });
}

// The number of `getpid` in the 32-bit table is that of `writev` in the other. Kernels without that table end the
// process.
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

TEST_F(SandboxFilter, BindsThreadsThatThereAreAlready) {
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
    const std::string made = cacheFolder.Write("made", "here");
    const std::string other = otherFolder.Write("other", "there");
    std::filesystem::create_symlink(other, cacheFolder.Path("link"));
    const int inherited = open(otherFolder.Path("open").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);

    const auto expectElsewhereRefused = [&] {
        const std::string fresh = otherFolder.Path("fresh");
        EXPECT_EQ(Open(other, O_RDONLY), "done");
        EXPECT_EQ(Open(other, O_RDWR), "EACCES");
        EXPECT_EQ(Open(fresh, O_WRONLY | O_CREAT), "EACCES");
        EXPECT_EQ(Open("/dev/shm/orvane-sandbox-test", O_WRONLY | O_CREAT), "EACCES");
        EXPECT_EQ(Outcome(mkdir(fresh.c_str(), 0700)), "EACCES");
        EXPECT_EQ(Outcome(symlink("x", fresh.c_str())), "EACCES");
        EXPECT_EQ(Outcome(mkfifo(fresh.c_str(), 0600)), "EACCES");
        EXPECT_EQ(Outcome(unlink(other.c_str())), "EACCES");
        EXPECT_EQ(Outcome(rename(other.c_str(), fresh.c_str())), "EACCES");
        EXPECT_EQ(Outcome(write(inherited, "open", 4)), "done");
    };
    Inside(
        [&] {
            expectElsewhereRefused();
            for (const int flags : {O_CREAT | O_EXCL, O_TRUNC}) {
                EXPECT_EQ(Open(cache, O_WRONLY | flags), "done") << flags;
            }
            EXPECT_EQ(Open(cacheFolder.Path("link"), O_WRONLY), "EACCES") << "a link that leads out of the folder";
            EXPECT_EQ(Outcome(unlink(made.c_str())), "EACCES");
            EXPECT_EQ(Outcome(rename(made.c_str(), cache.c_str())), "EACCES");
            EnterSandbox({});  // a second model without a cache takes nothing more away
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
    EXPECT_EQ(cacheFolder.Names(), (std::vector<std::string>{"link", "made"}));
    EXPECT_EQ(otherFolder.Names(), (std::vector<std::string>{"open", "other"}));
}

// One host, initialised again and again.
TEST_F(Sandbox, OnlyAModelOnTheCpuIsFiltered) {
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
        GTEST_SKIP() << kNoFilters << "; or it does not count them";
    }
    EXPECT_EQ(filtersWith("CPU"), 1);
    EXPECT_EQ(filtersWith(""), 1) << "one on top of the other would cost more with each model";
    EXPECT_EQ(filtersWith("GPU"), 1);
}

TEST_F(SandboxFiles, ALaterCacheElsewhereIsNotWrittenAndNoFailure) {
    InterpreterParams params = Params(AddModel({10}).WriteTo(otherFolder, "model"), "", HostPathBesideProgram());
    const std::vector<std::string> before = otherFolder.Names();
    params.openvinoMakeCache = true;
    for (const std::string& cache :
         {cacheFolder.Path("first"), otherFolder.Path("elsewhere"), cacheFolder.Path("second")}) {
        params.openvinoCachePath = cache;
        EXPECT_EQ(Shown(remote->Init(params)), kOk);
        EXPECT_EQ(remote->GetTensorCount(TensorTypeInput), 1);
    }
    EXPECT_EQ(Children().size(), 1U) << "one host";
    EXPECT_EQ(otherFolder.Names(), before);
    EXPECT_EQ(cacheFolder.Names(), (std::vector<std::string>{"first", "second"}));
}

}  // namespace
}  // namespace Orvane
