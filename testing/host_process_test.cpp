// Real host processes and real deaths, as Linux tells about them.
#include <orvane/interpreter.h>

#include "core/backend_factory.h"
#include "ipc/call_protocol.h"
#include "ipc/shared_channel.h"
#include "platform/host_process.h"
#include "platform/process.h"
#include "testing/processes.h"
#include "testing/round_trips.h"
#include "testing/within.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <sstream>
#include <thread>

namespace Orvane {
namespace {

using namespace std::chrono_literals;
using namespace Testing;
using Clock = std::chrono::steady_clock;

// A test ends within a minute and leaves no child and no name.
class HostProcess : public testing::Test {
 protected:
    void SetUp() override { alarm(60); }
    void TearDown() override {
        interpreter.reset();
        EXPECT_EQ(Children(), std::vector<pid_t>());
        EXPECT_EQ(Names(getpid()), 0U);
        alarm(0);
    }

    std::string Init(const InterpreterParams& params) { return Shown(interpreter->Init(params)); }

    // Starts a host and returns its number.
    pid_t StartHost(const std::string& path = "echo 4", const std::string& name = "") {
        EXPECT_EQ(Init(Params(path, name)), kOk);
        return Children().at(0);
    }

    std::unique_ptr<Interpreter> interpreter = std::make_unique<Interpreter>();
};

TEST_F(HostProcess, DeathIsAFailedCallAndTheNextInitialisationWorks) {
    constexpr auto kDelay = 300ms;
    const auto killHost = [] { kill(Children().at(0), SIGKILL); };
    const auto killLater = [&] {
        return std::async(std::launch::async, [&] { std::this_thread::sleep_for(kDelay), killHost(); });
    };
    const auto invoke = [this] { return Shown(interpreter->Invoke()); };
    const struct {
        const char* what;
        const char* modelName;
        std::function<std::string()> call;
        std::string outcome = kHostExit;
    } cases[] = {
        {"killed while idle", "", [&] { return killLater().get(), std::this_thread::sleep_for(kDelay), invoke(); }},
        {"killed between two calls", "", [&] { return killHost(), invoke(); }},
        {"killed while it initialises", "", [&] { return killLater(), Init(Params("hang")); }},
        {"killed while it runs a model", "sleep 50000", [&] { return killLater(), invoke(); }},
        {"stopped by a fault", "crash", invoke},
        {"stopped by an exception", "throw", invoke},
        {"stopped by a shape", "", [this] { return Shown(interpreter->GetInput()->Resize({1})); }, kHostCallError},
    };
    for (const auto& [what, modelName, call, outcome] : cases) {
        StartHost("echo 4", modelName);
        const auto start = Clock::now();
        EXPECT_EQ(call(), outcome) << what;
        EXPECT_LT(Clock::now() - start, kDelay + 1s) << what;
        StartHost();
        EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk) << what;
    }
}

TEST_F(HostProcess, FailedStartsHaveTheSystemsError) {
    const std::string launch = " CreateProcessAsUser error";
    const std::pair<std::string, std::string> cases[] = {
        {"/bin/true", kHostExit},
        {"/no/such/host", std::to_string(ENOENT) + launch},
        {"/dev/null", std::to_string(EACCES) + launch},
        {std::string(2000, 'x'), std::to_string(ENAMETOOLONG) + launch},
    };
    for (const auto& [host, outcome] : cases) {
        EXPECT_EQ(Init(Params("echo 4", "", host)), outcome);
        EXPECT_EQ(Names(getpid()), 0U) << host;
    }
    const pid_t noThread = Fork([&] {
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_setstacksize(&attributes, size_t{1} << 47);
        pthread_setattr_default_np(&attributes);
        _exit(Init(Params("echo 4")) == std::to_string(EAGAIN) + launch ? 0 : 1);
    });
    EXPECT_EQ(End(noThread), "exit 0");
    const pid_t noMemory = Fork([&] {
        const rlimit limit{65536, 65536};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
        const bool failed = Init(Params("echo 4")) == std::to_string(EFBIG) + " CreateFileMapping error";
        _exit(failed && Names(getpid()) == 0 ? 0 : 1);
    });
    EXPECT_EQ(End(noMemory), "exit 0");
}

TEST_F(HostProcess, ACallWithoutRoomForItsDataFailsAndNothingElse) {
    constexpr size_t kLarge = 4 << 20;
    const std::string noRoom = std::to_string(ENOSPC) + " CreateFileMapping error";
    const pid_t client = Fork([&] {
        const auto limitMemory = [](const char* size) {
            return mount("tmpfs", "/dev/shm", "tmpfs", 0, (std::string("size=") + size).c_str()) == 0;
        };
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            !limitMemory("8k")) {
            _exit(2);
        }
        EXPECT_EQ(Init(Params("echo 4")), noRoom);
        EXPECT_EQ(Names(getpid()), 0U);

        EXPECT_TRUE(limitMemory("1m"));
        std::vector<char> data(kLarge);
        const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
        EXPECT_EQ(Shown(backend->Init(Params("echo " + std::to_string(kLarge)))), kOk);
        EXPECT_EQ(Shown(backend->SetInputData(0, data.data(), kLarge)), noRoom);
        EXPECT_EQ(Shown(backend->CopyOutputTo(0, data.data(), kLarge)), noRoom);
        EXPECT_EQ(backend->GetTensorData(TensorTypeOutput, 0), nullptr);
        EXPECT_EQ(Shown(backend->SetInputData(0, data.data(), kLarge / 8)), kOk);
        EXPECT_EQ(Shown(backend->Invoke()), kOk);
        _exit(HasFailure() ? 1 : 0);
    });
    const std::string end = End(client);
    if (end == "exit 2") {
        GTEST_SKIP() << "limiting shared memory needs the right to mount";
    }
    EXPECT_EQ(end, "exit 0");
}

TEST_F(HostProcess, ExitValuesFollowTheArguments) {
    const auto replaced = [](const char* text, const char* by) {
        return [text, by](std::string arguments) {
            return arguments.replace(arguments.find(text), std::strlen(text), by);
        };
    };
    const struct {
        std::function<std::string(std::string)> change;
        std::string end;
    } cases[] = {
        {replaced("", ""), "exit 0"},
        {replaced("|4096", "| +4096x"), "exit 0"},
        {[](const std::string&) { return ""; }, "exit 255"},
        {replaced("Result", "Another"), "exit 255"},
        {replaced("Call", "Another"), "exit 255"},
        {replaced("Channel", "Another"), "exit 255"},
        {replaced("|4096", "|4097"), "exit 255"},
        {replaced("|4096", "|-1"), "exit 255"},
        {replaced("|4096", ""), "signal 6"},
    };
    for (const auto& [change, end] : cases) {
        SharedChannel channel;
        channel.Create(4096);
        const std::string arguments = change(channel.hostArguments);
        const pid_t host = Fork([&] { execl(kStubHost.c_str(), kStubHost.c_str(), arguments.c_str(), nullptr); });
        WriteRequest(channel.message, CallInit, 0U);
        channel.callEvent.Set();
        if (end == "exit 0" && channel.resultEvent.Wait(5000, Platform::Awaited::Result)) {
            WriteRequest(channel.message, CallExit);
            channel.callEvent.Set();
            EXPECT_TRUE(channel.resultEvent.Wait(5000, Platform::Awaited::Result));
        }
        EXPECT_EQ(End(host), end) << arguments;
    }
}

TEST_F(HostProcess, AStoppedHostOnlyDelays) {
    const pid_t host = StartHost();
    kill(host, SIGSTOP);
    auto outcome = std::async(std::launch::async, [&] { return RoundTrip(*interpreter, 0, 4, 1); });
    EXPECT_EQ(outcome.wait_for(500ms), std::future_status::timeout);
    kill(host, SIGCONT);
    EXPECT_EQ(outcome.get(), kOk);
}

TEST_F(HostProcess, DiesWithItsClient) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // an orphaned host becomes a child of this process
    for (const bool computes : {false, true}) {
        for (const bool fromThread : {false, true}) {
            int ends[2];
            ASSERT_EQ(pipe(ends), 0);
            const pid_t client = Fork([&] {
                pid_t host = 0;
                const auto start = [&] { host = StartHost("echo 4", computes ? "sleep 50000" : ""); };
                fromThread ? std::thread(start).join() : start();
                ASSERT_EQ(write(ends[1], &host, sizeof host), ssize_t{sizeof host});
                interpreter->Invoke().Ok();
                pause();
            });
            pid_t host = 0;
            ASSERT_EQ(read(ends[0], &host, sizeof host), ssize_t{sizeof host});
            std::this_thread::sleep_for(100ms);
            EXPECT_EQ(waitpid(client, nullptr, WNOHANG), 0);
            kill(client, SIGKILL);
            End(client);
            int status = 0;
            EXPECT_TRUE(Within(2s, [&] { return waitpid(host, &status, WNOHANG) == host; }));
            EXPECT_EQ(WTERMSIG(status), SIGKILL);
            EXPECT_EQ(Names(client), 0U);
            close(ends[0]);
            close(ends[1]);
        }
    }
    prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST_F(HostProcess, NamesOfADeadClientAreSwept) {
    const pid_t client = Fork([] {
        SharedChannel channel;
        channel.Create(4096);
        std::raise(SIGKILL);
    });
    EXPECT_EQ(End(client), "signal 9");
    EXPECT_EQ(Names(client), 3U);
    StartHost();
    EXPECT_EQ(Names(client), 0U);
}

TEST_F(HostProcess, TwoHundredDeathsLeaveNothing) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    const auto footprint = [] {
        std::ifstream maps("/proc/self/maps");
        const auto mappings = std::count(std::istreambuf_iterator<char>(maps), {}, '\n');
        return std::vector<size_t>{Entries("/proc/self/fd"), static_cast<size_t>(mappings), Entries("/proc/self/task"),
                                   Children().size(), Names(getpid())};
    };
    backend->Release();
    EXPECT_EQ(Shown(backend->Invoke()), kHostExit);
    std::vector<size_t> tenth;
    for (int cycle = 1; cycle <= 200; ++cycle) {
        ASSERT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
        ASSERT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
        ASSERT_EQ(Children().size(), 1U) << "a second host for the second initialisation";
        kill(Children().at(0), SIGKILL);
        if (cycle % 10 == 0) {
            EXPECT_EQ(Shown(backend->Invoke()), kHostExit);
        }
        ASSERT_TRUE(Within(1s, [] { return Children().empty(); }));
        if (cycle == 10) {
            tenth = footprint();
        }
    }
    const std::vector<size_t> last = footprint();
    constexpr size_t kMappings = 1;
    constexpr size_t kOfTheAllocator = 8;  // a sanitizer's heap may still grow by a few; 190 deaths would leave more
    for (size_t i = 0; i < last.size(); ++i) {
        EXPECT_LE(last[i], tenth[i] + (i == kMappings ? kOfTheAllocator : 0)) << i;
    }
}

// Asked before the host has a model: then its descriptors are still shown to its user.
TEST_F(HostProcess, InheritsNeitherDescriptorsNorSignals) {
    SharedChannel channel;
    channel.Create(4096);
    const int marker = dup(STDERR_FILENO);
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigfillset(&blocked);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    Platform::HostProcess launched;
    ASSERT_FALSE(launched.Launch(kStubHost, channel.hostArguments));
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
    std::signal(SIGPIPE, before);
    close(marker);
    WriteRequest(channel.message, static_cast<Call>(CallExit + 1));
    channel.callEvent.Set();
    ASSERT_TRUE(channel.resultEvent.Wait(5000, Platform::Awaited::Result));

    const pid_t host = Children().at(0);
    const std::string process = "/proc/" + std::to_string(host);
    EXPECT_EQ(Entries(process + "/fd"), 3U);
    EXPECT_EQ(getpgid(host), host);
    std::stringstream status;
    status << std::ifstream(process + "/status").rdbuf();
    for (const char* line : {"SigIgn:\t0000000000000000\n", "SigBlk:\t0000000000000000\n"}) {
        EXPECT_NE(status.str().find(line), std::string::npos) << status.str();
    }
}

TEST_F(HostProcess, LeavesSignalsToTheApplication) {
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
    // A signal after the other, as a profiler's timer sends them.
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

TEST_F(HostProcess, TwoHostsAtOnce) {
    Interpreter other;
    StartHost("echo 4096");
    EXPECT_EQ(Shown(other.Init(Params("echo 4096"))), kOk);
    EXPECT_EQ(Children().size(), 2U);
    const auto outcomes =
        AtOnce({[this] { return RoundTrips(*interpreter, 0, 500); }, [&other] { return RoundTrips(other, 0, 500); }});
    EXPECT_EQ(outcomes, std::vector<std::string>(2, kOk));
}

TEST_F(HostProcess, FourThreadsShareAHost) {
    StartHost("echo 4096 4");
    EXPECT_EQ(RoundTripsOfFour(*interpreter, 500), std::vector<std::string>(4, kOk));
    const pid_t host = StartHost("echo 4096 4");
    const auto killSoon = [&host] { std::this_thread::sleep_for(200ms), kill(host, SIGKILL); };
    EXPECT_EQ(RoundTripsOfFour(*interpreter, SIZE_MAX, killSoon), std::vector<std::string>(4, kHostExit));
}

TEST_F(HostProcess, TheChannelBoundsATensor) {
    const auto pass = [this](size_t size, const char* inputs) {
        StartHost("echo " + std::to_string(size) + inputs);
        return RoundTrip(*interpreter, 0, size, 1);
    };
    EXPECT_EQ(pass(kLargestInput, ""), kOk);
    std::vector<char> output(kLargestInput + 1);
    StartHost("echo " + std::to_string(output.size()));
    EXPECT_EQ(Shown(interpreter->GetOutput()->CopyTo(output.data(), kLargestInput + 1)), kHostExit);
    interpreter->Release();
    EXPECT_EQ(End(Fork([&] { pass(kLargestInput + 1, ""); })), "signal " + std::to_string(SIGABRT));
}

}  // namespace
}  // namespace Orvane
