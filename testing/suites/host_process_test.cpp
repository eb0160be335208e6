// Real host processes that really end: what the client reports then, and what the hosts leave.

#include <orvane/log.h>

#include "core/host_control.h"
#include "core/i_orvane.h"
#include "platform/path.h"
#include "platform/process.h"
#include "testing/support/host_fixture.h"
#include "testing/support/temporary_folder.h"

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

const std::string kThisProgram = Platform::ProgramBeside("host_process_test");
const std::string kTooLargeSwitch = "--too-large";

using HostProcess = HostFixture;

TEST_F(HostProcess, DeadHostFailsTheCallAndTheNextLoadWorks) {
    const auto invoke = [this](const Process&) { return Shown(interpreter->Invoke()); };
    const char* const kKilled = "signal 9 \\(SIGKILL\\), a user or program killed it.*|exit value 57005";
    const char* const kFailedFast = "signal 6 \\(SIGABRT\\), it aborted.*|exit value 0xC0000409, fast fail";
    const struct {
        const char* what;
        const char* modelName;
        std::function<std::string(const Process&)> call;
        const char* end;
    } cases[] = {
        {"killed just before a call", "", [&](auto& host) { return host.Kill(), invoke(host); }, kKilled},
        {"killed long before a call", "", [&](auto& host) { return host.Kill(), host.End(), invoke(host); }, kKilled},
        {"crashed", "crash", invoke, kFailedFast},
        {"ended by an exception", "throw", invoke, kFailedFast},
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

TEST_F(HostProcess, InterruptEndsAHostThatHangs) {
    EXPECT_EQ(Shown(interpreter->Interrupt()), "-1 不支持此操作") << "there is no host";
    const auto hang = [this](bool initialising) {
        const Status status = initialising ? interpreter->Init(Params("hang")) : interpreter->Invoke();
        EXPECT_EQ(status.reason, FailureReasonHostEnded);
        return Shown(status);
    };
    for (const bool initialising : {false, true}) {
        EXPECT_EQ(Init(Params("echo 4", "sleep 50000")), kOk);
        auto hanging = StartCall([&] { return hang(initialising); });
        const auto interrupt = [this] { return Shown(interpreter->Interrupt()); };
        auto one = std::async(std::launch::async, interrupt);
        auto other = std::async(std::launch::async, interrupt);
        EXPECT_EQ(one.get() + other.get(), kOk + kOk);
        EXPECT_EQ(hanging.get(), kHostExit);
        EXPECT_EQ(interpreter->GetHostEnd().cause, HostEndCauseInterrupted);
        EXPECT_EQ(interpreter->GetHostEnd().value, 0U);
    }
    EXPECT_EQ(Init(Params("echo 4")), kOk);
    EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
    EXPECT_EQ(interpreter->GetHostEnd().cause, HostEndCauseNone);
}

TEST_F(HostProcess, InterruptsDuringStartsAndReleases) {
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

TEST_F(HostProcess, ReleasesAHostThatDoesNotStart) {
    const std::string notFound = "2 CreateProcessAsUser error";  // on both systems
    EXPECT_EQ(Shown(remote->Init(Params("echo 4", "", "no such host"))), notFound);
    EXPECT_EQ(Shown(remote->Invoke()), kHostExit);
    EXPECT_EQ(Shown(remote->Init(Params("echo 4"))), kOk);
    const Process host(Children().at(0));
    host.Kill();
    host.End();
    EXPECT_EQ(Shown(remote->Init(Params("echo 4"))), kOk) << "no call has noticed that the host ended";
}

TEST_F(HostProcess, EndsTheHostAfterAFailedLoadOrWithItsBackend) {
    const auto none = [] { return Within(kPatience, [] { return Children().empty(); }); };
    EXPECT_EQ(Init(Params("fail to load")), "-1  to load");
    EXPECT_TRUE(none());
    EXPECT_EQ(Shown(remote->Init(Params("echo 4"))), kOk);
    const std::shared_ptr<HostControl> control = remote->GetHostControl();
    remote.reset();
    EXPECT_TRUE(none());
    control->Interrupt();
}

// Work that a log callback starts in another thread, and whether it was done when the callback returned.
struct CallbackWork {
    std::function<void()> run;
    std::future<void> done;
    int lines = 0;
    bool wasDone = false;
};
CallbackWork* callbackWork;

void RunWorkAtFirstLine(uint32_t, const char*) {
    if (callbackWork->lines++ == 0) {
        callbackWork->done = std::async(std::launch::async, callbackWork->run);
        callbackWork->wasDone = callbackWork->done.wait_for(kPatience) == std::future_status::ready;
    }
}

TEST_F(HostProcess, LogCallbackMayWaitForCallsOfOtherThreads) {
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
        CallbackWork work;
        work.run = [this] {
            const std::shared_ptr<HostControl> control = remote->GetHostControl();
            control->SetTimeLimit(1000);
            control->Interrupt();
            static_cast<void>(control->GetEnd());
            remote->GetTensorCount(TensorTypeInput);
        };
        callbackWork = &work;
        SetLogCallback(RunWorkAtFirstLine);
        EXPECT_EQ(Shown(call()), outcome);
        SetLogCallback(nullptr);
        EXPECT_TRUE(work.wasDone) << outcome;
        EXPECT_EQ(work.lines, 1) << outcome;
    }
}

TEST_F(HostProcess, StartsAHostWithAnyFileName) {
    const TemporaryFolder folder;
    const std::string name = "主机 100% 'x' & y";
    const std::filesystem::path stub = Platform::PathFromUtf8(kStubHost);
    const std::string copy = folder.Path(name + Platform::Utf8FromPath(stub.extension()));
    std::filesystem::copy_file(stub, Platform::PathFromUtf8(copy));
    EXPECT_EQ(Init(Params("echo 4", "", copy)), kOk);
    EXPECT_EQ(RoundTrip(*interpreter, 0, 4, 1), kOk);
    const Process host(Children().at(0));
    interpreter->Release();
    host.End();  // otherwise the folder cannot be removed
}

TEST_F(HostProcess, LimitsATensorToTheSizeOfTheChannel) {
    StartHost("echo " + std::to_string(kLargestInput));
    EXPECT_EQ(RoundTrip(*interpreter, 0, kLargestInput, 1), kOk);

    const Process host = StartHost("echo " + std::to_string(kLargestInput + 1));
    std::vector<char> output(kLargestInput + 1);
    EXPECT_EQ(Shown(interpreter->GetOutput()->CopyTo(output.data(), kLargestInput + 1)), kHostExit);
    host.End();

    EXPECT_EQ(Process(kThisProgram, kTooLargeSwitch).End(), "failed fast");
}

// --- Several threads ---

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

TEST_F(HostProcess, EightThreadsUseSeparateHosts) {
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

TEST_F(HostProcess, FourThreadsShareOneHost) {
    const Process host = StartHost("echo 4096 4");
    ExpectEach(InThreads(4, [this](uint32_t i) { return RoundTrips(*interpreter, i, 250); }), kOk);
    Outcomes endless = InThreads(4, [this](uint32_t i) { return RoundTrips(*interpreter, i, SIZE_MAX); });
    std::this_thread::sleep_for(200ms);  // the threads run endlessly until the kill
    host.Kill();
    ExpectEach(std::move(endless), kHostExit);
}

int SendTooLargeAnInput() {
    Interpreter interpreter;
    interpreter.Init(Params("echo " + std::to_string(kLargestInput + 1))).Ok();
    std::cerr << RoundTrip(interpreter, 0, kLargestInput + 1, 1);
    return 1;
}

}  // namespace
}  // namespace Orvane

// The tests also run this program as a client.
int main(int argc, char** argv) {
    if (argc == 2 && argv[1] == Orvane::kTooLargeSwitch) {
        return Orvane::SendTooLargeAnInput();
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
