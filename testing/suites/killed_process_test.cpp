// Kills a host or its client in each part of a client's life. Checks what fails, what works later, and what is left.
#include "core/host_control.h"
#include "core/i_orvane.h"
#include "platform/event.h"
#include "platform/process.h"
#include "platform/section.h"
#include "platform/shared_names.h"
#include "testing/support/host_fixture.h"

#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <iostream>
#include <thread>

namespace Orvane {
namespace {

using namespace std::chrono_literals;
using namespace Testing;

const std::string kThisProgram = Platform::ProgramBeside("killed_process_test");
const std::string kClientSwitch = "--client=";

enum class Part { Start, Init, CopyIn, Run, CopyOut, Release };
void PrintTo(Part part, std::ostream* out) {
    const char* const names[] = {"Start", "Init", "CopyIn", "Run", "CopyOut", "Release"};
    *out << names[static_cast<size_t>(part)];
}

constexpr int kKills = 25;
constexpr size_t kLarge = 8 << 20;  // bytes; a copy takes some milliseconds

// Prepares a part: starts a host and loads a model, except for `Start`.
std::string Prepare(IOrvane& backend, Part part) {
    if (part == Part::Start) {
        return kOk;
    }
    return Shown(backend.Init(Params("echo " + std::to_string(kLarge), part == Part::Run ? "sleep 2" : "")));
}

// Does a part. Repeats a short part until it fails.
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

// Each kill comes later than the last. A release is short; a start takes some milliseconds. `Init` gets 50 ms more: if
// it found its host dead at once, it would start another host.
std::chrono::microseconds Delay(Part part, int kill) {
    return (part == Part::Init ? 50ms : 0ms) + kill * (part == Part::Release ? 50us : 700us);
}

class KillTest : public testing::TestWithParam<Part> {
 protected:
    void SetUp() override {
        const std::string reason = WhyNotKilledAtStart();
        if (part == Part::Start && !reason.empty()) {
            GTEST_SKIP() << reason;
        }
    }

    void TearDown() override { EXPECT_EQ(LeftBehind(), ""); }

    // Compares this process's resources with those after a few kills. A leak of one per kill exceeds the tolerance.
    void LookForLeaks(int kill) {
        constexpr size_t kOfOthers = 8;  // for the system's threads and heap
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

TEST_P(KillTest, KilledHostFailsTheCallAndLeavesNothing) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    backend->GetHostControl()->SetTimeLimit(5000);  // if a call started another host, its load would never end
    const bool mayMiss = part == Part::Start || part == Part::Release;
    for (int kill = 0; kill < kKills; ++kill) {
        ASSERT_EQ(Prepare(*backend, part), kOk) << "after kill " << kill;
        std::vector<Process> hosts;  // one, or none if it has not started yet
        for (const uint32_t number : Children()) {
            hosts.emplace_back(number);
        }
        auto killed = std::async(std::launch::async, [&] {
            EXPECT_TRUE(Within(kPatience, [&hosts] { return !hosts.empty() || !Children().empty(); }));
            const Process host = hosts.empty() ? Process(Children().at(0)) : hosts[0];
            std::this_thread::sleep_for(Delay(part, kill));
            host.Kill();
            return host;
        });
        const std::string outcome = Do(*backend, part);
        const Process host = killed.get();
        EXPECT_TRUE(outcome == kHostExit || (mayMiss && outcome == kOk)) << outcome << " at kill " << kill;
        EXPECT_FALSE(host.Lives(kPatience)) << kill;
        EXPECT_EQ(Shown(backend->Invoke()), kHostExit) << kill;
        EXPECT_TRUE(Within(kPatience, [] { return Children().empty(); })) << kill;
        LookForLeaks(kill);
    }
    EXPECT_EQ(Shown(backend->Init(Params("echo 4"))), kOk);
    backend->Release();
}

// What a client in another process reports to the test: its module word, and that it is about to begin the part.
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

TEST_P(KillTest, KilledClientLeavesNothing) {
    for (int kill = 0; kill < kKills; ++kill) {
        const std::string name = std::to_string(static_cast<int>(part)) + std::to_string(kill % 2) + "_" +
                                 std::to_string(Platform::ModuleWord()) + "_" + std::to_string(kill);
        ClientReport report(name);
        const Process client(kThisProgram, kClientSwitch + name);
        ASSERT_TRUE(report.began.Wait(30'000, Platform::Awaited::Work)) << kill;
        std::this_thread::sleep_for(Delay(part, kill));
        client.Kill();
        EXPECT_EQ(client.End(), "killed") << kill;
        EXPECT_EQ(LeftBehindBy(client.Number(), report.ModuleWord()), "") << kill;
        // After the client's end: on Windows two clients of one program file must not have channels at the same time.
        EXPECT_EQ(Shown(CreateRemoteBackend()->Init(Params("echo 4"))), kOk) << kill;
        LookForLeaks(kill);
    }
}

INSTANTIATE_TEST_SUITE_P(Part, KillTest,
                         testing::Values(Part::Start, Part::Init, Part::CopyIn, Part::Run, Part::CopyOut,
                                         Part::Release),
                         testing::PrintToStringParamName());

// --- A client in another process ---

// The name's first digit is the part in which the client is killed. If the second is 1, a thread that ends starts the
// host.
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

}  // namespace
}  // namespace Orvane

// The tests also run this program as a client.
int main(int argc, char** argv) {
    const std::string argument = argc == 2 ? argv[1] : "";
    if (argument.starts_with(Orvane::kClientSwitch)) {
        return Orvane::RunClient(argument.substr(Orvane::kClientSwitch.size()));
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
