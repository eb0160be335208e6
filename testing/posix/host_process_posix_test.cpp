// Only on Linux: the errors of a start, signals, descriptors, limits on memory, and forks.
#include "core/i_orvane.h"
#include "host/posix_call_filter.h"
#include "ipc/call_protocol.h"
#include "ipc/shared_channel.h"
#include "platform/host_process.h"
#include "platform/shared_names.h"
#include "testing/posix/in_child.h"
#include "testing/support/host_fixture.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <thread>

namespace Orvane {
namespace {

using namespace std::chrono_literals;
using namespace Testing;

class HostProcessPosix : public HostFixture {
 protected:
    pid_t StartHost() { return static_cast<pid_t>(HostFixture::StartHost().Number()); }
};

TEST_F(HostProcessPosix, ReportsTheSystemErrorOfAFailedStart) {
    const std::string launch = " CreateProcessAsUser error";
    const std::pair<std::string, std::string> cases[] = {
        {"/bin/true", kHostExit},
        {"/dev/null", std::to_string(EACCES) + launch},
        {std::string(2000, 'x'), std::to_string(ENAMETOOLONG) + launch},
    };
    for (const auto& [host, outcome] : cases) {
        EXPECT_EQ(Shown(remote->Init(Params("echo 4", "", host))), outcome);
        EXPECT_EQ(Names(Platform::ModuleWord()), 2U) << host << ": both events stay, deliberately";
        EXPECT_EQ(Init(Params("echo 4", "", host)), outcome);
        remote = CreateRemoteBackend();
        EXPECT_EQ(Names(Platform::ModuleWord()), 0U) << host;
    }
    InChild([&] {
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_setstacksize(&attributes, size_t{1} << 47);
        pthread_setattr_default_np(&attributes);
        EXPECT_EQ(Init(Params("echo 4")), std::to_string(EAGAIN) + launch);
    });
    InChild([&] {
        close(STDIN_FILENO);  // the descriptor of the host process then gets this number
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlim_t before = limit.rlim_cur;
        const int next = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close(next);
        limit.rlim_cur = static_cast<rlim_t>(next) + 3;  // room for two events and a section
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_EQ(Init(Params("echo 4")), std::to_string(EMFILE) + launch);
        limit.rlim_cur = before;
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_EQ(Children(), std::vector<uint32_t>());
    });
    InChild([&] {
        const rlimit limit{65536, 65536};
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_EQ(Init(Params("echo 4")), std::to_string(EFBIG) + " CreateFileMapping error");
        EXPECT_EQ(Names(Platform::ModuleWord()), 0U);
    });
}

TEST_F(HostProcessPosix, WaitsForAStoppedHost) {
    const pid_t host = StartHost();
    kill(host, SIGSTOP);
    EXPECT_TRUE(Within(kPatience, [host] { return InStatus(static_cast<uint32_t>(host), "State").starts_with("T"); }));
    auto outcome = std::async(std::launch::async, [&] { return RoundTrip(*interpreter, 0, 4, 1); });
    EXPECT_EQ(outcome.wait_for(500ms), std::future_status::timeout);
    kill(host, SIGCONT);
    EXPECT_EQ(outcome.get(), kOk);
}

TEST_F(HostProcessPosix, ForkedChildDoesNotOwnTheHost) {
    const pid_t host = StartHost();
    const std::function<void()> ways[] = {
        [] {},
        [this] { interpreter->Release(); },
        [this] { interpreter.reset(); },
        [this] {
            EXPECT_EQ(Shown(interpreter->Invoke()), kHostExit);
            EXPECT_EQ(Init(Params("echo 4")), kOk) << "the child starts its own host";
            EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
            interpreter->Release();
        },
    };
    for (const auto& way : ways) {
        InChild(way);
        EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
        EXPECT_EQ(Children(), std::vector<uint32_t>{static_cast<uint32_t>(host)});
    }
}

// One thread of the parent is inside a call. Another thread asks and sets without a pause.
TEST_F(HostProcessPosix, ForkedChildDoesNotWaitForAThreadOfItsParent) {
    HostFixture::StartHost("echo 4", "sleep 50000");
    const TensorHandle input = interpreter->GetInput();
    const TensorHandle output = interpreter->GetOutput();
    std::array<char, 4> data{};
    std::shared_ptr<void> memory;
    auto running = StartCall([this] { return Shown(interpreter->Invoke()); });
    std::atomic<bool> asks{false};
    std::atomic<bool> done{false};
    std::thread asking([&] {
        while (!done) {
            interpreter->SetTimeLimit(0);
            static_cast<void>(interpreter->GetHostEnd());
            asks = true;
        }
    });
    // A thread that starts may hold a lock of the address sanitizer, which the child would then wait for.
    EXPECT_TRUE(Within(kPatience, [&asks] { return asks.load(); }));
    for (int child = 0; child < 20; ++child) {
        InChild([&] {
            EXPECT_EQ(output->GetData(), nullptr);
            EXPECT_EQ(Shown(output->CopyTo(data.data(), 4)), kHostExit);
            EXPECT_EQ(Shown(input->CopyFrom(data.data(), 4)), kHostExit);
            EXPECT_EQ(Shown(input->GetMemory(4, memory)), kHostExit);
            EXPECT_EQ(Shown(input->Resize({4})), kHostCallError);
            EXPECT_EQ(Shown(interpreter->Invoke()), kHostExit);
            EXPECT_EQ(interpreter->GetInputCount() + interpreter->GetOutputCount(), 0);
            EXPECT_TRUE(interpreter->GetExtraInfo().empty());
            EXPECT_EQ(interpreter->GetHostEnd().cause, HostEndCauseUnknown);
            static_cast<void>(interpreter->Interrupt());
            interpreter->SetTimeLimit(5000);
            EXPECT_EQ(Init(Params("echo 4")), kOk) << "the child starts its own host";
            EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
            EXPECT_TRUE(interpreter->Interrupt().Ok());
            EXPECT_EQ(Shown(interpreter->Invoke()), kHostExit);
            EXPECT_EQ(interpreter->GetHostEnd().cause, HostEndCauseInterrupted);
            interpreter.reset();
        });
    }
    done = true;
    asking.join();
    EXPECT_TRUE(interpreter->Interrupt().Ok());
    EXPECT_EQ(running.get(), kHostExit);
}

TEST_F(HostProcessPosix, WorksInLittleAddressSpace) {
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    if (before.rlim_cur != RLIM_INFINITY || kInstrumented) {
        GTEST_SKIP() << "address space is limited already, or this build needs much address space";
    }
    const auto leave = [](rlim_t bytes) {
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t most = pages * 4096 + bytes;
        const rlimit limit{most, most};
        setrlimit(RLIMIT_AS, &limit);
    };
    for (const rlim_t megabytes : {36U, 64U, 128U, 256U, 512U, 1000U}) {
        InChild([&] {
            leave(megabytes << 20);
            EXPECT_EQ(Init(Params("echo 4")), kOk) << megabytes;
            EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk) << megabytes;
        });
    }
    InChild([&] {
        constexpr size_t kGigabyte = size_t{1} << 30;
        leave(6 * kGigabyte);
        Interpreter several[5];
        for (Interpreter& own : several) {
            EXPECT_EQ(Shown(own.Init(Params("echo 4"))), kOk);
        }
        EXPECT_NE(mmap(nullptr, 2 * kGigabyte, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), MAP_FAILED)
            << "the application still has address space";
    });
}

TEST_F(HostProcessPosix, ReleasesAHostThatItHasNoRightToEnd) {
    const auto dropRights = [] {
        constexpr uid_t kNobody = 65534;
        return setresuid(kNobody, kNobody, kNobody) == 0;
    };
    if (geteuid() != 0 || End(Fork([&] { _exit(dropRights() ? 0 : 1); })) != "exit 0") {
        GTEST_SKIP() << "this test needs the superuser, whose rights it drops";
    }
    InChild([&] {
        const Process host(static_cast<uint32_t>(StartHost()));
        EXPECT_TRUE(dropRights());
        interpreter->Release();
        EXPECT_EQ(interpreter->GetHostEnd().text,
                  "the system refused to end it, with error 1, so it was asked to exit");
        EXPECT_FALSE(host.Lives(kPatience)) << "the host was asked to end";
    });
}

// Checks the host process before it has a model, because then its user can still read its descriptors.
TEST_F(HostProcessPosix, HostInheritsOnlyStandardDescriptorsAndNoSignalSettings) {
    for (const bool closed : {false, true}) {
        InChild([closed] {
            EXPECT_GE(dup(STDERR_FILENO), 0);
            for (int descriptor = STDIN_FILENO; closed && descriptor <= STDERR_FILENO; ++descriptor) {
                close(descriptor);
            }
            std::signal(SIGPIPE, SIG_IGN);
            sigset_t blocked;
            sigfillset(&blocked);
            pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
            SharedChannel channel;
            channel.Create(4096);
            Platform::HostProcess launched;
            EXPECT_FALSE(launched.Launch(kStubHost, channel.hostArguments));
            for (const int descriptor : {STDIN_FILENO, STDERR_FILENO}) {
                EXPECT_TRUE(!closed || fcntl(descriptor, F_GETFD) < 0) << descriptor;
            }
            WriteRequest(channel.message, static_cast<Call>(CallExit + 1));
            channel.callEvent.Set();
            EXPECT_TRUE(channel.resultEvent.Wait(30'000, Platform::Awaited::Result));

            const uint32_t host = Children().at(0);
            EXPECT_EQ(Entries("/proc/" + std::to_string(host) + "/fd"), 3U);
            EXPECT_EQ(getpgid(static_cast<pid_t>(host)), static_cast<pid_t>(host));
            for (const char* mask : {"SigIgn", "SigBlk"}) {
                EXPECT_EQ(InStatus(host, mask), "0000000000000000") << mask;
            }
        });
    }
}

TEST_F(HostProcessPosix, WorksWithTheApplicationsSignalHandlers) {
    const auto reapAny = [](int) {
        const int error = errno;
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        errno = error;
    };
    for (const sighandler_t handler : {SIG_IGN, static_cast<sighandler_t>(reapAny)}) {
        const auto before = std::signal(SIGCHLD, handler);
        kill(StartHost(), SIGKILL);
        EXPECT_EQ(Shown(interpreter->Invoke()), kHostExit);
        StartHost();
        interpreter->Release();
        std::signal(SIGCHLD, before);
    }
    // Many signals, one after another, as from a profiler's timer.
    const auto before = std::signal(SIGUSR1, [](int) {});
    std::atomic<bool> done{false};
    std::thread timer([&done, target = pthread_self()] {
        for (; !done; std::this_thread::sleep_for(100us)) {
            pthread_kill(target, SIGUSR1);
        }
    });
    for (int i = 0; i < 10; ++i) {
        StartHost();
        EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
    }
    done = true;
    timer.join();
    std::signal(SIGUSR1, before);
}

}  // namespace
}  // namespace Orvane
