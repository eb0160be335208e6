// Real host processes and real deaths: what the client makes of them, and what they leave behind.

#include <orvane/log.h>

#include "core/backend_factory.h"
#include "core/host_control.h"
#include "platform/event.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/section.h"
#include "testing/support/host_fixture.h"
#include "testing/support/temporary_folder.h"

#include <atomic>
#include <chrono>
#include <cstring>
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

const std::string kThisProgram = Platform::ProgramBeside("host_process_test");
const std::string kClientSwitch = "--client=";
const std::string kTooLargeSwitch = "--too-large";

using HostProcess = HostFixture;

TEST_F(HostProcess, DeathIsAFailedCallAndTheNextInitialisationWorks) {
    const auto invoke = [this](const Process&) { return Shown(interpreter->Invoke()); };
    const char* const kKilled = "signal 9 \\(SIGKILL\\)|exit value 57005";
    const char* const kFailedFast = "signal 6 \\(SIGABRT\\)|exit value 0xC0000409 \\(fast fail\\)";
    const struct {
        const char* what;
        const char* modelName;
        std::function<std::string(const Process&)> call;
        const char* end;
    } cases[] = {
        {"killed just before a call", "", [&](auto& host) { return host.Kill(), invoke(host); }, kKilled},
        {"killed long before", "", [&](auto& host) { return host.Kill(), host.End(), invoke(host); }, kKilled},
        {"stopped by a fault", "crash", invoke, kFailedFast},
        {"stopped by an exception", "throw", invoke, kFailedFast},
    };
    for (const auto& [what, modelName, call, end] : cases) {
        const Process host = StartHost("echo 4", modelName);
        EXPECT_EQ(call(host), kHostExit) << what;
        const HostEnd hostEnd = interpreter->GetHostEnd();
        EXPECT_TRUE(std::regex_match(hostEnd.text, std::regex(end))) << what << ": " << hostEnd.text;
        EXPECT_EQ(hostEnd.cause, hostEnd.text.starts_with("signal") ? HostEndCauseSignal : HostEndCauseExit);
        host.End();
        EXPECT_EQ(Init(Params("echo 4")), kOk);
        EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk) << what;
    }
}

TEST_F(HostProcess, OneThatHangsIsEndedByAnyThread) {
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
        EXPECT_EQ(interpreter->GetHostEnd().value, 0U);
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
    const std::string notFound = "2 CreateProcessAsUser error";  // on both systems
    EXPECT_EQ(Shown(remote->Init(Params("echo 4", "", "no such host"))), notFound);
    EXPECT_EQ(Shown(remote->Invoke()), kHostExit);
    EXPECT_EQ(Shown(remote->Init(Params("echo 4"))), kOk);
    const Process host(Children().at(0));
    host.Kill();
    host.End();
    EXPECT_EQ(Shown(remote->Init(Params("echo 4"))), kOk) << "a host whose end no call has noticed";
}

TEST_F(HostProcess, NoneIsLeftByAFailedInitialisationOrABackendThatIsGone) {
    const auto none = [] { return Within(2s, [] { return Children().empty(); }); };
    EXPECT_EQ(Init(Params("fail to load")), "-1  to load");
    EXPECT_TRUE(none());
    EXPECT_EQ(Shown(remote->Init(Params("echo 4"))), kOk);
    const std::shared_ptr<HostControl> control = remote->GetHostControl();
    remote.reset();
    EXPECT_TRUE(none());
    control->Interrupt();
}

// What a log callback asks another thread to do, and whether it was done when the callback returned.
struct Asked {
    std::function<void()> work;
    std::future<void> done;
    int lines = 0;
    bool wasDone = false;
};
Asked* asked;

void AskAtEachLine(uint32_t, const char*) {
    if (asked->lines++ == 0) {
        asked->done = std::async(std::launch::async, asked->work);
        asked->wasDone = asked->done.wait_for(5s) == std::future_status::ready;
    }
}

TEST_F(HostProcess, TheLogCallbackMayWaitForCallsOfOtherThreads) {
    const auto afterDeath = [this](const std::function<Status()>& call) {
        EXPECT_TRUE(remote->Init(Params("echo 4")).Ok());
        const Process host(Children().at(0));
        host.Kill(), host.End();
        return call();
    };
    const std::pair<std::string, std::function<Status()>> cases[] = {
        {"2 CreateProcessAsUser error", [&] { return remote->Init(Params("echo 4", "", "no such host")); }},
        {"-1  to load", [&] { return remote->Init(Params("fail to load")); }},
        {kHostExit, [&] { return afterDeath([&] { return remote->Invoke(); }); }},
        {kHostCallError, [&] { return afterDeath([&] { return remote->SetTensorShape(TensorTypeInput, 0, {1}); }); }},
    };
    for (const auto& [outcome, call] : cases) {
        remote = CreateRemoteBackend();
        Asked ask;
        ask.work = [this] {
            const std::shared_ptr<HostControl> control = remote->GetHostControl();
            control->SetTimeLimit(1000);
            control->Interrupt();
            static_cast<void>(control->GetEnd());
            remote->GetTensorCount(TensorTypeInput);
        };
        asked = &ask;
        SetLogCallback(AskAtEachLine);
        EXPECT_EQ(Shown(call()), outcome);
        SetLogCallback(nullptr);
        EXPECT_TRUE(ask.wasDone) << outcome;
        EXPECT_EQ(ask.lines, 1) << outcome;
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

TEST_F(HostProcess, TheChannelBoundsATensor) {
    StartHost("echo " + std::to_string(kLargestInput));
    EXPECT_EQ(RoundTrip(*interpreter, 0, kLargestInput, 1), kOk);

    const Process host = StartHost("echo " + std::to_string(kLargestInput + 1));
    std::vector<char> output(kLargestInput + 1);
    EXPECT_EQ(Shown(interpreter->GetOutput()->CopyTo(output.data(), kLargestInput + 1)), kHostExit);
    host.End();

    EXPECT_EQ(Process(kThisProgram, kTooLargeSwitch).End(), "failed fast");
}

// --- Several at once ---

using Outcomes = std::vector<std::future<std::string>>;

Outcomes InThreads(uint32_t count, const std::function<std::string(uint32_t)>& work) {
    Outcomes outcomes;
    for (uint32_t i = 0; i < count; ++i) {
        outcomes.push_back(std::async(std::launch::async, work, i));
    }
    return outcomes;
}

void ExpectEach(Outcomes outcomes, const std::string& outcome) {
    for (auto& one : outcomes) {
        EXPECT_EQ(one.get(), outcome);
    }
}

TEST_F(HostProcess, EightThreadsHaveHostsOfTheirOwn) {
    const auto startAndUse = [](uint32_t) {
        std::string outcome = kOk;
        for (int start = 0; start < 3 && outcome == kOk; ++start) {
            Interpreter own;
            outcome = Shown(own.Init(Params("echo 4096")));
            outcome = outcome == kOk ? RoundTrips(own, 0, 50) : outcome;
        }
        return outcome;
    };
    ExpectEach(InThreads(8, startAndUse), kOk);
}

TEST_F(HostProcess, FourThreadsShareAHost) {
    const Process host = StartHost("echo 4096 4");
    ExpectEach(InThreads(4, [this](uint32_t i) { return RoundTrips(*interpreter, i, 250); }), kOk);
    Outcomes endless = InThreads(4, [this](uint32_t i) { return RoundTrips(*interpreter, i, SIZE_MAX); });
    std::this_thread::sleep_for(200ms);
    host.Kill();
    ExpectEach(std::move(endless), kHostExit);
}

// --- A host, or its client, killed in each part of a client's life ---

enum class Part { Start, Init, CopyIn, Run, CopyOut, Release };
void PrintTo(Part part, std::ostream* out) {
    const char* const names[] = {"Start", "Init", "CopyIn", "Run", "CopyOut", "Release"};
    *out << names[static_cast<size_t>(part)];
}

constexpr int kKills = 25;
constexpr size_t kLarge = 8 << 20;  // bytes that take some milliseconds to copy

// Wine now and then fails with an error of its own to start a program while it ends another.
std::string Init(IOrvane& backend, const InterpreterParams& params) {
    std::string outcome;
    Within(1s, [&] {
        outcome = Shown(backend.Init(params));
        return !outcome.starts_with("1359 ");
    });
    return outcome;
}

// What comes before a part: a host and a model, or nothing.
std::string Prepare(IOrvane& backend, Part part) {
    if (part == Part::Start) {
        return kOk;
    }
    return Init(backend, Params("echo " + std::to_string(kLarge), part == Part::Run ? "sleep 2" : ""));
}

// A part, over and over where it is short, until it fails.
std::string Do(IOrvane& backend, Part part) {
    const auto untilItFails = [](const std::function<Status()>& step) {
        std::string outcome = kOk;
        while (outcome == kOk) {
            outcome = Shown(step());
        }
        return outcome;
    };
    static std::vector<char> data(kLarge);
    switch (part) {
        case Part::Start:
            return Shown(backend.Init(Params("echo 4")));
        case Part::Init:
            return Shown(backend.Init(Params("hang")));
        case Part::CopyIn:
            return untilItFails([&backend] { return backend.SetInputData(0, data.data(), kLarge); });
        case Part::Run:
            return untilItFails([&backend] { return backend.Invoke(); });
        case Part::CopyOut:
            return untilItFails([&backend] { return backend.CopyOutputTo(0, data.data(), kLarge); });
        default:
            backend.Release();
            return kOk;
    }
}

// Later with each kill. A release is short and a start takes some milliseconds; and an initialisation that finds its
// host dead would start another one.
std::chrono::microseconds Delay(Part part, int kill) {
    return (part == Part::Init ? 50ms : 0ms) + kill * (part == Part::Release ? 50us : 700us);
}

class KilledIn : public testing::TestWithParam<Part> {
 protected:
    void SetUp() override {
        const std::string reason = WhyNotKilledAtStart();
        if (part == Part::Start && !reason.empty()) {
            GTEST_SKIP() << reason;
        }
    }

    void TearDown() override { EXPECT_EQ(LeftBehind(), ""); }

    // Compares what this process holds with what it held after a few kills: one thing more for each would be seen.
    void LookForLeaks(int kill) {
        constexpr size_t kOfOthers = 8;  // the system's threads, a sanitizer's heap
        if (kill == 4) {
            early = Footprint();
        } else if (kill == kKills - 1) {
            const std::vector<size_t> late = Footprint();
            for (size_t i = 0; i < late.size(); ++i) {
                EXPECT_LE(late[i], early[i] + kOfOthers) << i;
            }
        }
    }

    const Part part = GetParam();

 private:
    Watchdog watchdog;
    std::vector<size_t> early;
};

TEST_P(KilledIn, AHostFailsTheCallAndLeavesNothing) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    backend->GetHostControl()->SetTimeLimit(5000);  // were another host started, it would be initialising for ever
    const bool mayMiss = part == Part::Start || part == Part::Release;
    for (int kill = 0; kill < kKills; ++kill) {
        ASSERT_EQ(Prepare(*backend, part), kOk) << "after kill " << kill;
        std::vector<Process> hosts;  // one, or none that there is yet
        for (const uint32_t number : Children()) {
            hosts.emplace_back(number);
        }
        auto killed = std::async(std::launch::async, [&] {
            EXPECT_TRUE(Within(10s, [&hosts] { return !hosts.empty() || !Children().empty(); }));
            const Process host = hosts.empty() ? Process(Children().at(0)) : hosts[0];
            std::this_thread::sleep_for(Delay(part, kill));
            host.Kill();
            return host;
        });
        const std::string outcome = Do(*backend, part);
        const Process host = killed.get();
        EXPECT_TRUE(outcome == kHostExit || (mayMiss && outcome == kOk)) << outcome << " at kill " << kill;
        EXPECT_FALSE(host.Lives(2s)) << kill;
        EXPECT_EQ(Shown(backend->Invoke()), kHostExit) << kill;
        EXPECT_TRUE(Within(2s, [] { return Children().empty(); })) << kill;
        LookForLeaks(kill);
    }
    EXPECT_EQ(Orvane::Init(*backend, Params("echo 4")), kOk);
    backend->Release();
}

// What a client in a process of its own shares with the test: its module word, and that it is about to begin the part.
struct ClientReport {
    explicit ClientReport(const std::string& client)
        : began(Platform::Event::Create("OrvaneTestBegan" + client)),
          section(Platform::Section::Create("OrvaneTestWord" + client, sizeof(uint32_t))),
          view(section.Map(0)) {}

    uint32_t ModuleWord() const {
        uint32_t word = 0;
        std::memcpy(&word, view.Data(), sizeof word);
        return word;
    }

    static void Send(const std::string& client) {
        const uint32_t word = Platform::ModuleWord();
        const Platform::View view = Platform::Section::Open("OrvaneTestWord" + client).Map(0);
        std::memcpy(view.Data(), &word, sizeof word);
        Platform::Event::Open("OrvaneTestBegan" + client).Set();
    }

    Platform::Event began;
    Platform::Section section;
    Platform::View view;
};

TEST_P(KilledIn, AClientTakesItsHostAlongAndLeavesNothing) {
    for (int kill = 0; kill < kKills; ++kill) {
        const std::string name = std::to_string(static_cast<int>(part)) + std::to_string(kill % 2) + "_" +
                                 std::to_string(Platform::ModuleWord()) + "_" + std::to_string(kill);
        ClientReport report(name);
        const Process client(kThisProgram, kClientSwitch + name);
        ASSERT_TRUE(report.began.Wait(20'000, Platform::Awaited::Work)) << kill;
        std::this_thread::sleep_for(Delay(part, kill));
        client.Kill();
        EXPECT_EQ(client.End(), "killed") << kill;
        EXPECT_EQ(LeftBehindBy(client.Number(), report.ModuleWord()), "") << kill;
        // Two clients of one program file are not to have channels at the same time on Windows.
        EXPECT_EQ(Orvane::Init(*CreateRemoteBackend(), Params("echo 4")), kOk) << kill;
        LookForLeaks(kill);
    }
}

INSTANTIATE_TEST_SUITE_P(Part, KilledIn,
                         testing::Values(Part::Start, Part::Init, Part::CopyIn, Part::Run, Part::CopyOut,
                                         Part::Release),
                         testing::PrintToStringParamName());

// --- A client in a process of its own ---

// Its name begins with the part in which it is killed, and with whether a thread that is gone has started its host.
int RunClient(const std::string& name) {
    const auto part = static_cast<Part>(name.at(0) - '0');
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    std::string outcome;
    const auto prepare = [&] { outcome = Prepare(*backend, part); };
    name.at(1) == '1' ? std::thread(prepare).join() : prepare();
    ClientReport::Send(name);
    if (outcome != kOk || Do(*backend, part) != kOk) {
        return 1;
    }
    std::this_thread::sleep_for(1h);
    return 1;
}

int SendTooLargeAnInput() {
    Interpreter interpreter;
    interpreter.Init(Params("echo " + std::to_string(kLargestInput + 1))).Ok();
    std::cerr << RoundTrip(interpreter, 0, kLargestInput + 1, 1);
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
    if (argument == Orvane::kTooLargeSwitch) {
        return Orvane::SendTooLargeAnInput();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
