// Real host processes and real deaths: what the client makes of them, and what they leave behind.
#include "core/backend_factory.h"
#include "platform/event.h"
#include "platform/path.h"
#include "platform/process.h"
#include "testing/support/host_fixture.h"
#include "testing/support/temporary_folder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <iostream>
#include <regex>
#include <thread>

namespace Orvane {
namespace {

using namespace std::chrono_literals;
using namespace Testing;
using Clock = std::chrono::steady_clock;

const std::string kThisProgram = Platform::ProgramBeside("host_process_test");
const std::string kClientSwitch = "--client=";
constexpr const char* kReadyEvent = "OrvaneTestClientIsReady";

using HostProcess = HostFixture;

TEST_F(HostProcess, DeathIsAFailedCallAndTheNextInitialisationWorks) {
    constexpr auto kDelay = 300ms;
    const auto killLater = [&] {
        return std::async(std::launch::async,
                          [&] { std::this_thread::sleep_for(kDelay), Process(Children().at(0)).Kill(); });
    };
    const auto invoke = [this](const Process&) { return Shown(interpreter->Invoke()); };
    const auto resize = [this](const Process&) { return Shown(interpreter->GetInput()->Resize({1})); };
    const char* const kKilled = "signal 9 \\(SIGKILL\\)|exit value 57005";
    const char* const kFailedFast = "signal 6 \\(SIGABRT\\)|exit value 0xC0000409 \\(fast fail\\)";
    const struct {
        const char* what;
        const char* modelName;
        std::function<std::string(const Process&)> call;
        const char* end;
        std::string outcome = kHostExit;
    } cases[] = {
        {"killed just before a call", "", [&](auto& host) { return host.Kill(), invoke(host); }, kKilled},
        {"killed long before", "", [&](auto& host) { return killLater().get(), host.End(), invoke(host); }, kKilled},
        {"killed while it initialises", "", [&](auto&) { return killLater(), Init(Params("hang")); }, kKilled},
        {"killed while it runs", "sleep 50000", [&](auto& host) { return killLater(), invoke(host); }, kKilled},
        {"stopped by a fault", "crash", invoke, kFailedFast},
        {"stopped by an exception", "throw", invoke, kFailedFast},
        {"stopped by a shape", "", resize, kFailedFast, kHostCallError},
    };
    for (const auto& [what, modelName, call, end, outcome] : cases) {
        const Process host = StartHost("echo 4", modelName);
        const auto start = Clock::now();
        EXPECT_EQ(call(host), outcome) << what;
        EXPECT_LT(Clock::now() - start, kDelay + 2s) << what;
        EXPECT_TRUE(std::regex_match(interpreter->GetHostEnd().text, std::regex(end)))
            << what << ": " << interpreter->GetHostEnd().text;
        host.End();
        EXPECT_EQ(Init(Params("echo 4")), kOk);
        EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk) << what;
    }
}

TEST_F(HostProcess, OneThatHangsIsEndedByAnyThreadAndByATimeLimit) {
    EXPECT_EQ(Shown(interpreter->Interrupt()), "-1 不支持此操作") << "there is no host";
    const auto hang = [this](bool initialising) {
        const Status status = initialising ? interpreter->Init(Params("hang")) : interpreter->Invoke();
        EXPECT_EQ(status.reason, FailureReasonHostEnded);
        return Shown(status);
    };
    for (const bool initialising : {false, true}) {
        EXPECT_EQ(Init(Params("echo 4", "sleep 50000")), kOk);
        const auto interrupt = [this] {
            std::this_thread::sleep_for(300ms);
            return Shown(interpreter->Interrupt());
        };
        auto one = std::async(std::launch::async, interrupt);
        auto other = std::async(std::launch::async, interrupt);
        EXPECT_EQ(hang(initialising), kHostExit);
        EXPECT_EQ(one.get() + other.get(), kOk + kOk);
        EXPECT_EQ(interpreter->GetHostEnd().cause, HostEndCauseInterrupted);

        EXPECT_EQ(Init(Params("echo 4", "sleep 50000")), kOk);
        interpreter->SetTimeLimit(300);
        EXPECT_EQ(hang(initialising), kHostExit);
        EXPECT_EQ(interpreter->GetHostEnd().text, "time limit of 300 ms");
        interpreter->SetTimeLimit(0);
    }
    EXPECT_EQ(Init(Params("echo 4")), kOk);
    EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
    EXPECT_EQ(interpreter->GetHostEnd().cause, HostEndCauseNone);
}

TEST_F(HostProcess, InterruptsMeetStartsAndReleases) {
    std::atomic<bool> done{false};
    std::thread interrupting([&] {
        for (; !done; std::this_thread::sleep_for(1ms)) {
            static_cast<void>(interpreter->Interrupt());
        }
    });
    for (int round = 0; round < 20; ++round) {
        const std::string outcome = Init(Params("echo 4"));
        EXPECT_TRUE(outcome == kOk || outcome == kHostExit) << outcome;
        interpreter->Release();
    }
    done = true;
    interrupting.join();
    EXPECT_EQ(Init(Params("echo 4")), kOk);
}

TEST_F(HostProcess, AFailedStartIsReleased) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    const Status status = backend->Init(Params("echo 4", "", "no such host"));
    EXPECT_EQ(status.message, "CreateProcessAsUser error");
    EXPECT_EQ(status.code, 2) << "not found has this number on both systems";
    EXPECT_EQ(Shown(backend->Invoke()), kHostExit);
    EXPECT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
}

TEST_F(HostProcess, HundredDeathsLeaveNothing) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    backend->Release();
    EXPECT_EQ(Shown(backend->Invoke()), kHostExit);
    std::vector<size_t> tenth;
    for (int cycle = 1; cycle <= 100; ++cycle) {
        ASSERT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
        ASSERT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
        ASSERT_EQ(Children().size(), 1U) << "a second host for the second initialisation";
        Process(Children()[0]).Kill();
        ASSERT_TRUE(Within(10s, [] { return Children().empty(); }));
        if (cycle % 10 == 0) {
            EXPECT_EQ(Shown(backend->Invoke()), kHostExit);
        }
        if (cycle == 10) {
            tenth = Footprint();
        }
    }
    const std::vector<size_t> last = Footprint();
    constexpr size_t kOfOthers = 8;  // the system's threads or a sanitizer's heap; 90 deaths would leave more
    for (size_t i = 0; i < last.size(); ++i) {
        EXPECT_LE(last[i], tenth[i] + kOfOthers) << i;
    }
}

TEST_F(HostProcess, IsStartedUnderAnyName) {
    const TemporaryFolder folder;
    const std::string name = "主机 100% 'x' & y";
    const std::filesystem::path stub = Platform::PathFromUtf8(kStubHost);
    const std::string copy = folder.Path(name + Platform::Utf8FromPath(stub.extension()));
    std::filesystem::copy_file(stub, Platform::PathFromUtf8(copy));
    EXPECT_EQ(Init(Params("echo 4", "", copy)), kOk);
    EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
    const Process host(Children().at(0));
    interpreter->Release();
    host.End();  // or the folder could not be removed
}

TEST_F(HostProcess, DiesWithItsClient) {
    for (const std::string state : {"idle", "computing", "idle-started-by-a-thread", "computing-started-by-a-thread"}) {
        Platform::Event ready = Platform::Event::Create(kReadyEvent);
        const Process client(kThisProgram, kClientSwitch + state);
        ASSERT_TRUE(ready.Wait(20'000, Platform::Awaited::Work));
        const Process host(Children(client.Number()).at(0));
        EXPECT_TRUE(host.Lives(100ms));
        client.Kill();
        EXPECT_EQ(client.End(), "killed");
        host.End();
    }
}

TEST_F(HostProcess, TheChannelBoundsATensor) {
    StartHost("echo " + std::to_string(kLargestInput));
    EXPECT_EQ(RoundTrip(*interpreter, 0, kLargestInput, 1), kOk);

    const Process host = StartHost("echo " + std::to_string(kLargestInput + 1));
    std::vector<char> output(kLargestInput + 1);
    EXPECT_EQ(Shown(interpreter->GetOutput()->CopyTo(output.data(), kLargestInput + 1)), kHostExit);
    host.End();

    EXPECT_EQ(Process(kThisProgram, kClientSwitch + "one-byte-too-many").End(), "failed fast");
}

// --- Several at once ---

TEST_F(HostProcess, TwoHostsAtOnce) {
    Interpreter other;
    StartHost("echo 4096");
    EXPECT_EQ(Shown(other.Init(Params("echo 4096"))), kOk);
    EXPECT_EQ(Children().size(), 2U);
    auto outcome = std::async(std::launch::async, [&other] { return RoundTrips(other, 0, 500); });
    EXPECT_EQ(RoundTrips(*interpreter, 0, 500), kOk);
    EXPECT_EQ(outcome.get(), kOk);
}

TEST_F(HostProcess, FourThreadsShareAHost) {
    const auto roundTripsOfFour = [this](size_t rounds, const std::function<void()>& meanwhile) {
        std::vector<std::string> outcomes(4);
        std::vector<std::thread> running;
        for (uint32_t i = 0; i < 4; ++i) {
            running.emplace_back([&, i] { outcomes[i] = RoundTrips(*interpreter, i, rounds); });
        }
        meanwhile();
        std::for_each(running.begin(), running.end(), [](std::thread& thread) { thread.join(); });
        return outcomes;
    };
    const Process host = StartHost("echo 4096 4");
    EXPECT_EQ(roundTripsOfFour(250, [] {}), std::vector<std::string>(4, kOk));
    const auto killSoon = [&host] { std::this_thread::sleep_for(200ms), host.Kill(); };
    EXPECT_EQ(roundTripsOfFour(SIZE_MAX, killSoon), std::vector<std::string>(4, kHostExit));
}

// --- A client in a process of its own ---

int RunClient(const std::string& state) {
    Interpreter interpreter;
    if (state == "one-byte-too-many") {
        interpreter.Init(Params("echo " + std::to_string(kLargestInput + 1))).Ok();
        std::cerr << RoundTrip(interpreter, 0, kLargestInput + 1, 1);
        return 1;
    }
    const auto start = [&] {
        interpreter.Init(Params("echo 4", state.starts_with("computing") ? "sleep 50000" : "")).Ok();
    };
    state.find("thread") != std::string::npos ? std::thread(start).join() : start();
    Platform::Event::Open(kReadyEvent).Set();
    interpreter.Invoke().Ok();
    std::this_thread::sleep_for(1h);
    return 1;
}

}  // namespace
}  // namespace Orvane

// A client as well, whose life the tests end.
int main(int argc, char** argv) {
    const std::string argument = argc == 2 ? argv[1] : "";
    if (argument.starts_with(Orvane::kClientSwitch)) {
        return Orvane::RunClient(argument.substr(Orvane::kClientSwitch.size()));
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
