// Real host processes and real deaths on Windows: what the client makes of them, and what they leave behind.
#include <orvane/interpreter.h>

#include "core/backend_factory.h"
#include "platform/event.h"
#include "platform/process.h"
#include "testing/shown_replies.h"
#include "testing/win32/processes.h"
#include "testing/within.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace Orvane {
namespace {

using namespace std::chrono_literals;
using namespace Testing;
using Clock = std::chrono::steady_clock;

const std::string kThisProgram = Platform::ProgramBeside("host_process_win32_test");
const std::string kScriptedHost = Platform::ProgramBeside("scripted_host");
const std::string kSilentEnds = Platform::ProgramBeside("silent_ends");
constexpr const char* kThrows = "throws 读取类型和写入大小不匹配";
constexpr const char* kReadyEvent = "OrvaneTestClientIsReady";
constexpr DWORD kFastFail = 0xC0000409;

// A test ends within two minutes and leaves no child.
class HostProcessWin32 : public testing::Test {
 protected:
    void TearDown() override {
        interpreter.reset();
        EXPECT_TRUE(NoChildren());
    }

    // Starts a host and returns the right to end it. An earlier one, which may take its time to go, is gone by then.
    Handle StartHost(const std::string& path = "echo 4", const std::string& name = "") {
        interpreter->Release();
        EXPECT_TRUE(NoChildren());
        EXPECT_EQ(Shown(interpreter->Init(Params(path, name))), kOk);
        return OpenProcessToEnd(Children().at(0));
    }

    std::unique_ptr<Interpreter> interpreter = std::make_unique<Interpreter>();

 private:
    Watchdog watchdog;
};

// --- What each operation gives ---

struct Operation {
    std::function<std::string(IOrvane&)> act;
    std::string answered;
    std::string failed;
    std::string hostDied;
};

// By the number of the call that they make, from 1. The first of all, initialisation, is the tests' own.
const Operation kOperations[] = {
    {[](IOrvane& b) { return std::to_string(b.GetTensorCount(TensorTypeOutput)); }, "3", "0", "0"},
    {[](IOrvane& b) { return ShownInfo(b, 1); }, "y 4 1 5 6", " 0 0", " 0 0"},
    {[](IOrvane& b) { return Shown(b.SetInputData(0, "abcd", 4)); }, kOk, "7 no", kHostExit},
    {[](IOrvane& b) { return Shown(b.Invoke()); }, kOk, "7 no", kHostExit},
    {[](IOrvane& b) { return ShownCopy(b, 0); }, "0  zzz", "7 no ___", kHostExit + " ___"},
    {[](IOrvane& b) { return ShownData(b, 0, 3); }, "zzz", "null", "null"},
    {[](IOrvane& b) { return std::to_string(b.GetExtraInfo().size()); }, "4", "0", "0"},
    {[](IOrvane& b) { return Shown(b.SetTensorShape(TensorTypeOutput, 0, {5})); }, kOk, "7 no", kHostCallError},
};

// What the operation of call `number` gives when the scripted host has this behaviour there.
std::string Outcome(IOrvane& backend, const std::string& behaviour, size_t number) {
    try {
        const std::string path = behaviour + " " + std::to_string(number);
        const std::string initialised = Shown(backend.Init(Params(path, "", kScriptedHost)));
        return number == 0 || initialised != kOk ? initialised : kOperations[number - 1].act(backend);
    } catch (const std::runtime_error& error) {
        return std::string("throws ") + error.what();
    }
}

TEST_F(HostProcessWin32, EveryOperationHandsOnWhatTheHostAnswers) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    const Operation initialisation = {{}, kOk, "7 no", {}};
    for (size_t number = 0; number <= std::size(kOperations); ++number) {
        const Operation& operation = number == 0 ? initialisation : kOperations[number - 1];
        EXPECT_EQ(Outcome(*backend, "answer", number), operation.answered) << number;
        EXPECT_EQ(Outcome(*backend, "fail", number), operation.failed) << number;
        EXPECT_EQ(Outcome(*backend, "malform", number), kThrows) << number;
        EXPECT_EQ(Children().size(), 1U) << "an answer, whatever it is, ends no host";
    }
}

TEST_F(HostProcessWin32, EveryOperationFailsAtADeadHost) {
    const auto killLater = [] {
        return std::async(std::launch::async, [] {
            EXPECT_TRUE(Within(10s, [] { return !Children().empty(); }));
            std::this_thread::sleep_for(300ms);
            TerminateProcess(OpenProcessToEnd(Children().at(0)).Get(), 1);
        });
    };
    for (size_t number = 0; number <= std::size(kOperations); ++number) {
        for (const std::string behaviour : {"exit", "crash", "hang"}) {
            EXPECT_TRUE(NoChildren());
            const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
            const auto killed = behaviour == "hang" ? killLater() : std::future<void>();
            const std::string expected = number == 0 ? kHostExit : kOperations[number - 1].hostDied;
            const auto start = Clock::now();
            EXPECT_EQ(Outcome(*backend, behaviour, number), expected) << behaviour << " " << number;
            EXPECT_LT(Clock::now() - start, 300ms + 1s) << behaviour << " " << number;
            for (const Operation& operation : kOperations) {
                EXPECT_EQ(operation.act(*backend), operation.hostDied) << "without a host";
            }
            EXPECT_EQ(Outcome(*backend, "answer", 4), kOk) << "with a new host";
        }
    }
}

TEST_F(HostProcessWin32, DeathIsAFailedCallAndTheNextInitialisationWorks) {
    const auto invoke = [this] { return Shown(interpreter->Invoke()); };
    const struct {
        const char* modelName;
        std::function<std::string()> call;
        DWORD exitCode;
        std::string outcome = kHostExit;
    } cases[] = {
        {"", [&] { return TerminateProcess(OpenProcessToEnd(Children().at(0)).Get(), 5), invoke(); }, 5},
        {"crash", invoke, kFastFail},
        {"throw", invoke, kFastFail},
        {"", [this] { return Shown(interpreter->GetInput()->Resize({1})); }, kFastFail, kHostCallError},
    };
    for (const auto& [modelName, call, exitCode, outcome] : cases) {
        const Handle host = StartHost("echo 4", modelName);
        const auto start = Clock::now();
        EXPECT_EQ(call(), outcome);
        EXPECT_LT(Clock::now() - start, 1s);
        EXPECT_EQ(End(host), exitCode);
        StartHost();
        EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
    }
}

TEST_F(HostProcessWin32, HundredDeathsLeaveNothing) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    size_t tenth = 0;
    for (int cycle = 1; cycle <= 100; ++cycle) {
        ASSERT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
        ASSERT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
        const std::vector<DWORD> hosts = Children();
        ASSERT_EQ(hosts.size(), 1U) << "a second host for the second initialisation";
        const Handle host = OpenProcessToEnd(hosts[0]);
        TerminateProcess(host.Get(), 1);
        ASSERT_EQ(End(host), 1U);
        if (cycle % 10 == 0) {
            EXPECT_EQ(Shown(backend->Invoke()), kHostExit);
        }
        if (cycle == 10) {
            tenth = HandleCount();
        }
    }
    constexpr size_t kOfTheSystem = 8;  // its threads come and go; 90 deaths would leave more
    EXPECT_LE(HandleCount(), tenth + kOfTheSystem);
}

// --- Whose end is the host's end ---

TEST_F(HostProcessWin32, EndsWhenItIsReleased) {
    const std::function<void()> ways[] = {[this] { interpreter->Release(); }, [this] { interpreter.reset(); }};
    for (const auto& way : ways) {
        const Handle host = StartHost();
        EXPECT_TRUE(Lives(host));
        way();
        End(host);
    }
}

TEST_F(HostProcessWin32, DiesWithItsClient) {
    for (const std::string state : {"idle", "computing"}) {
        Platform::Event ready = Platform::Event::Create(kReadyEvent);
        const Program client = Start(kThisProgram, "--client " + state);
        ASSERT_TRUE(ready.Wait(20'000, Platform::Awaited::Work));
        const std::vector<DWORD> hosts = Children(client.id);
        ASSERT_EQ(hosts.size(), 1U);
        const Handle host = OpenProcessToEnd(hosts[0]);
        EXPECT_TRUE(Lives(client.process, 100));
        TerminateProcess(client.process.Get(), 9);
        EXPECT_EQ(End(client.process), 9U);
        End(host);
    }
}

TEST_F(HostProcessWin32, TheChannelBoundsATensor) {
    StartHost("echo " + std::to_string(kLargestInput));
    EXPECT_EQ(RoundTrip(*interpreter, 0, kLargestInput, 1), kOk);

    const Handle host = StartHost("echo " + std::to_string(kLargestInput + 1));
    std::vector<char> output(kLargestInput + 1);
    EXPECT_EQ(Shown(interpreter->GetOutput()->CopyTo(output.data(), kLargestInput + 1)), kHostExit);
    EXPECT_EQ(End(host), kFastFail);
    interpreter->Release();

    EXPECT_EQ(End(Start(kThisProgram, "--client one-byte-too-many").process), kFastFail);
}

// --- Several at once ---

TEST_F(HostProcessWin32, TwoHostsAtOnce) {
    Interpreter other;
    StartHost("echo 4096");
    EXPECT_EQ(Shown(other.Init(Params("echo 4096"))), kOk);
    EXPECT_EQ(Children().size(), 2U);
    const auto outcomes =
        AtOnce({[this] { return RoundTrips(*interpreter, 0, 500); }, [&other] { return RoundTrips(other, 0, 500); }});
    EXPECT_EQ(outcomes, std::vector<std::string>(2, kOk));
}

TEST_F(HostProcessWin32, FourThreadsShareAHost) {
    StartHost("echo 4096 4");
    EXPECT_EQ(RoundTripsOfFour(*interpreter, 250), std::vector<std::string>(4, kOk));
    const Handle host = StartHost("echo 4096 4");
    const auto killSoon = [&host] { std::this_thread::sleep_for(200ms), TerminateProcess(host.Get(), 1); };
    EXPECT_EQ(RoundTripsOfFour(*interpreter, SIZE_MAX, killSoon), std::vector<std::string>(4, kHostExit));
}

// --- Ways to die ---

TEST(EndSilently, LetsAProgramDieWithoutADialogue) {
    const Watchdog watchdog;
    for (const std::string way :
         {"abort", "access-violation", "exception", "exception-in-a-thread", "fail-fast", "pure-call"}) {
        EXPECT_EQ(End(Start(kSilentEnds, way).process), kFastFail) << way;
    }
}

TEST(EndSilently, CoversInvalidParameters) {
    const Watchdog watchdog;
    const DWORD exitCode = End(Start(kSilentEnds, "invalid-parameter").process);
#ifdef __MINGW32__
    if (exitCode == 1) {
        GTEST_SKIP() << "over msvcrt.dll MinGW keeps the handler for itself, and the functions return an error";
    }
#endif
    EXPECT_EQ(exitCode, kFastFail);
}

// --- A client in a process of its own ---

int RunClient(const std::string& state) {
    const Watchdog watchdog;
    Interpreter interpreter;
    if (state == "one-byte-too-many") {
        interpreter.Init(Params("echo " + std::to_string(kLargestInput + 1))).Ok();
        RoundTrip(interpreter, 0, kLargestInput + 1, 1);
        return 1;
    }
    interpreter.Init(Params("echo 4", state == "computing" ? "sleep 50000" : "")).Ok();
    Platform::Event::Open(kReadyEvent).Set();
    interpreter.Invoke().Ok();
    Sleep(INFINITE);
    return 1;
}

}  // namespace
}  // namespace Orvane

// A client as well, whose life the tests end.
int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--client") {
        return Orvane::RunClient(argv[2]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
