// The seam's objects that two processes share, and the channel that consists of them, on both systems.
#include "core/errors.h"
#include "ipc/shared_channel.h"
#include "platform/last_error.h"
#include "platform/resources.h"
#include "platform/shared_names.h"
#include "testing/support/processes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <regex>
#include <thread>
#include <tuple>

namespace Orvane {
namespace {

using Platform::Event;
using Platform::Section;
using Platform::View;

constexpr auto kWork = Platform::Awaited::Work;
constexpr uint32_t kNotFound = 2;  // on both systems
constexpr uint32_t kExists = 17;

const std::string kName = std::string("Test_").append(std::to_string(Platform::ModuleWord())).append("d_1");

class Seam : public testing::Test {
 protected:
    void TearDown() override { EXPECT_EQ(Testing::LeftBehind(), ""); }

 private:
    Testing::Watchdog watchdog;
};

TEST_F(Seam, SharedEventReleasesOneWait) {
    Event event = Event::Create(kName);
    Event opened = Event::Open(kName);
    ASSERT_TRUE(event && opened);
    EXPECT_FALSE(opened.Wait(0, kWork));
    EXPECT_TRUE(event.Set());
    EXPECT_TRUE(opened.Set());
    EXPECT_TRUE(opened.Wait(0, kWork));
    EXPECT_FALSE(event.Wait(0, kWork)) << "two sets release one wait";
    EXPECT_FALSE(event.Wait(10, Platform::Awaited::Result));
    event = {};
    EXPECT_TRUE(opened.Set()) << "the event exists until its last handle is closed";
    EXPECT_TRUE(opened.Wait(Event::kForever, kWork));
    opened = {};
    EXPECT_FALSE(Event::Open(kName));
    EXPECT_EQ(Platform::LastError(), kNotFound);
}

TEST_F(Seam, EachSetReleasesOneThread) {
    Event event = Event::Create(kName);
    Event released = Event::Create(kName + "_released");
    const auto wait = [&] { event.Wait(Event::kForever, kWork), released.Set(); };
    const std::jthread waiting[] = {std::jthread(wait), std::jthread(wait), std::jthread(wait)};
    for (size_t i = 0; i < std::size(waiting); ++i) {
        event.Set();
        EXPECT_TRUE(released.Wait(30'000, kWork));
        EXPECT_FALSE(released.Wait(50, kWork));
    }
}

TEST_F(Seam, EventLosesNoSetAndOrdersWrites) {
    Event call = Event::Create(kName + "_call");
    Event result = Event::Create(kName + "_result");
    constexpr int kRounds = 20'000;
    int value = 0;  // no lock and no atomic: the events order the writes
    std::thread other([&] {
        for (int i = 0; i < kRounds; ++i) {
            call.Wait(Event::kForever, kWork);
            ++value;
            result.Set();
        }
    });
    for (int i = 1; i <= kRounds; ++i) {
        ++value;
        call.Set();
        ASSERT_TRUE(result.Wait(30'000, Platform::Awaited::Result));
        ASSERT_EQ(value, 2 * i);
    }
    other.join();
}

TEST_F(Seam, ViewOutlivesItsSection) {
    Section section = Section::Create(kName, 4096);
    Section opened = Section::Open(kName);
    ASSERT_TRUE(section && opened);
    EXPECT_TRUE(section.Commit(4096));
    const View view = section.Map(4096);
    const View whole = opened.Map(0);
    ASSERT_TRUE(view && whole);
    EXPECT_EQ(std::count(view.Data(), view.Data() + 4096, 0), 4096);
    EXPECT_FALSE(opened.Map(4097)) << "larger than the section";
    View other = opened.Map(1);
    other.Data()[0] = 7;
    EXPECT_FALSE(opened.Map(~uint64_t{0}));
    const uint32_t error = Platform::LastError();
    other = {};
    section = {};
    opened = {};
    EXPECT_EQ(Platform::LastError(), error) << "closing preserves the last error";
    EXPECT_EQ(view.Data()[0], 7);
    EXPECT_EQ(whole.Data()[0], 7);
    EXPECT_FALSE(Section::Open(kName));
}

// --- The channel ---

// Makes the first channel of this process before any test does.
class FirstChannel : public testing::Environment {
 public:
    void SetUp() override {
        SharedChannel channel;
        channel.Create(4096);
        arguments = channel.hostArguments;
        name = "_" + std::to_string(Platform::ModuleWord()) + "d_1|";
    }

    inline static std::string arguments;
    inline static std::string name;
};
const testing::Environment* const kFirstChannel = testing::AddGlobalTestEnvironment(new FirstChannel);

TEST_F(Seam, NumbersChannelsFromOne) {
    const std::string& name = FirstChannel::name;
    EXPECT_EQ(FirstChannel::arguments, "Result" + name + "Call" + name + "Channel" + name + "4096");
}

// Returns the text of the exception that `action` throws, or "made". The exception must have an error of the system.
std::string Failure(const std::function<void()>& action) {
    try {
        action();
        return "made";
    } catch (const SystemException& error) {
        EXPECT_NE(error.Code(), 0U);
        return error.what();
    }
}

// The name of an object in the next channel of this process.
std::string NextName(const std::string& prefix) {
    SharedChannel channel;
    channel.Create(4096);
    std::smatch parts;
    std::regex_search(channel.hostArguments, parts, std::regex(R"((_\d+d_)(\d+))"));
    return prefix + parts.str(1) + std::to_string(std::stoi(parts.str(2)) + 1);
}

// If a name is taken, Windows shares the object with that name, if it is of the same kind. Linux never uses an existing
// object and takes other names.
TEST_F(Seam, ChannelHandlesTakenNames) {
    const bool shares = !Platform::RenewModuleWord(kExists);
    const std::tuple<const char*, bool, const char*> cases[] = {
        {"Result", true, "made"},
        {"Call", true, "made"},
        {"Result", false, "CreateEvent result error "},
        {"Call", false, "CreateEvent call error"},
        {"Channel", true, "CreateFileMapping error"},
        {"Channel", false, "MapViewOfFile error"},
    };
    for (const auto& [prefix, byEvent, whereShared] : cases) {
        const std::string name = NextName(prefix);
        const Event event = byEvent ? Event::Create(name) : Event();
        const Section small = byEvent ? Section() : Section::Create(name, 1);
        ASSERT_TRUE(event || small);
        EXPECT_EQ(Failure([] { SharedChannel().Create(4097); }), shares ? whereShared : "made") << name;
        EXPECT_EQ(static_cast<bool>(Event::Create(name)), shares && byEvent);
    }
}

TEST_F(Seam, NamesOfAChannelShareOneModuleWord) {
    std::atomic<bool> done{false};
    std::thread renewing([&done] {
        while (!done) {
            Platform::RenewModuleWord(kExists);
        }
    });
    const std::regex oneWord(R"(Result(_\d+d_\d+)\|Call\1\|Channel\1\|4096)");
    for (int i = 0; i < 100; ++i) {
        SharedChannel channel;
        channel.Create(4096);
        EXPECT_TRUE(std::regex_match(channel.hostArguments, oneWord)) << channel.hostArguments;
    }
    done = true;
    renewing.join();
}

TEST_F(Seam, ReportsTheObjectThatCannotBeOpened) {
    const std::pair<std::string, std::string> cases[] = {{"Result", "OpenEvent result error"},
                                                         {"Call", "OpenEvent call error"},
                                                         {"Channel", "OpenFileMapping error"},
                                                         {"4096", "MapViewOfFile error"}};
    for (const auto& [from, failure] : cases) {
        SharedChannel client;
        client.Create(4096);
        std::string arguments = client.hostArguments;
        arguments.insert(arguments.rfind(from), 1, '5');
        EXPECT_EQ(Failure([&] { SharedChannel().Open(arguments); }), failure);
        EXPECT_EQ(Failure([&] { SharedChannel().Open(""); }), "OpenEvent result error");
    }
}

TEST_F(Seam, ProcessorTimeCountsTheWorkOfThisProcess) {
    const auto start = Platform::ProcessorTimeSoFar();
    ASSERT_TRUE(start);
    auto end = start;
    while (end->own < start->own + 0.3) {
        end = Platform::ProcessorTimeSoFar();
    }
    constexpr double kLost = 0.2;  // a virtual machine that does not run for a while counts less as busy
    const double busy = end->busy - start->busy;
    EXPECT_GT(busy + end->stolen - start->stolen, 0.3 - kLost);
    EXPECT_GT(end->whole - start->whole, busy - kLost);
    EXPECT_GE(end->stolen, start->stolen);
}

}  // namespace
}  // namespace Orvane
