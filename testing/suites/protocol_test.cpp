// Tests each side of the call protocol with bytes that the test builds without the product's code.
#include <orvane/option_v2.h>

#include "platform/process.h"
#include "testing/support/host_fixture.h"
#include "testing/support/wire.h"

#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <iostream>
#include <regex>
#include <thread>

namespace Orvane {
namespace {

using namespace std::chrono_literals;
using namespace Testing;
using namespace Testing::Wire;

// --- The client, with this program as its host ---

struct ClientCase {
    std::function<std::string(IOrvane&)> act;  // empty: load only
    std::string request;
    std::string reply;
    std::string result;
    std::string hostDied = {};  // the result if the host ends instead; one row of each call has it
};

std::string ShownInfo(IOrvane& backend) {
    const TensorInfo info = backend.GetTensorInfo(TensorTypeOutput, 3);
    std::string text = info.name + " " + std::to_string(info.dataType) + " " + std::to_string(info.format);
    for (const int64_t dimension : info.shape) {
        text.append(" ").append(std::to_string(dimension));
    }
    return text + (info.flag ? " flag" : "");
}

std::string ShownCopy(IOrvane& backend) {
    char data[] = "___";
    return Shown(backend.CopyOutputTo(1, data, 3)) + " " + data;
}

std::string ShownData(IOrvane& backend) {
    const auto* data = static_cast<const char*>(backend.GetTensorData(TensorTypeOutput, 4));
    return data != nullptr ? std::string(data, 2) : "null";
}

std::string ShownExtraInfo(IOrvane& backend) {
    const auto info = backend.GetExtraInfo();
    std::string text = std::to_string(info.size());
    for (const auto& [key, value] : info) {
        text.append(" ").append(key).append("=").append(value);
    }
    return text;
}

const std::string kThrows = "throws 读取类型和写入大小不匹配";

std::vector<ClientCase> ClientCases() {
    const auto count = [](IOrvane& b) { return std::to_string(b.GetTensorCount(TensorTypeOutput)); };
    const auto set = [](IOrvane& b) { return Shown(b.SetInputData(2, "abc", 3)); };
    const auto invoke = [](IOrvane& b) { return Shown(b.Invoke()); };
    const auto shape = [](const std::vector<int64_t>& dimensions) {
        return [dimensions](IOrvane& b) { return Shown(b.SetTensorShape(TensorTypeOutput, 2, dimensions)); };
    };
    const std::string info = Word(2) + Word(1) + Word(3);
    const std::string copy = Word(5) + Word(1) + Word(3);
    const std::string data = Word(6) + Word(4);
    const std::string dimensions = LongWord(5) + LongWord(~uint64_t{0});
    return {
        {{}, "", kSuccess, kOk, kHostExit},
        {{}, "", Word(7) + Text("no"), "7 no"},
        {count, Word(1) + Word(1), Word(0xFFFFFFFE), "-2", "0"},
        {ShownInfo, info, Text("y") + Word(9) + Word(6) + Word(2) + Word(0xFFFFFFFF) + Word(7), "y 9 6 4294967295 7",
         " 0 0"},
        {ShownInfo, info, Word(1) + Word(9) + Word(6) + Word(0), kThrows},
        {ShownInfo, info, Text("y") + LongWord(9) + Word(6) + Word(0), kThrows},
        {ShownInfo, info, Text("y") + Word(9) + Text("") + Word(0), kThrows},
        {ShownInfo, info, Text("y") + Word(9) + Word(6) + Word(1) + LongWord(7), kThrows},
        {set, Word(3) + Word(2) + Word(3) + "abc", Word(5) + Text("no"), "5 no", kHostExit},
        {invoke, Word(4), kSuccess, kOk, kHostExit},
        {invoke, Word(4), Word(7) + Text(""), "7 Unknown Error"},
        {invoke, Word(4), Word(0) + Text("odd"), "0 odd"},
        {invoke, Word(4), Word(0) + Word(0), kThrows},
        {ShownCopy, copy, Word(3) + "abc" + kSuccess, "0  abc", kHostExit + " ___"},
        {ShownCopy, copy, Word(3) + "abc" + Word(0xFFFFFFFF) + Text("no"), "-1 no ___"},
        {ShownData, data, Word(2) + "ab" + kSuccess, "ab", "null"},
        {ShownData, data, Word(2) + "ab" + Word(1) + Text("no"), "null"},
        {ShownExtraInfo, Word(7), Word(2) + Text("k") + Text("a") + Text("k") + Text("b"), "1 k=b", "0"},
        {ShownExtraInfo, Word(7), Word(0), "0"},
        {ShownExtraInfo, Word(7), Word(1) + Text("k") + Word(1), kThrows},
        {shape({5, -1}), Word(8) + Word(1) + Word(2) + Word(2) + dimensions, kSuccess, kOk, kHostCallError},
        {shape({}), Word(8) + Word(1) + Word(2) + Word(0), Word(5) + Text("no"), "5 no"},
        // The first two calls must send no request: it would be unexpected and end the host.
        {[](IOrvane& b) {
             const bool none = b.GetTensorData(TensorTypeInput, 0) == nullptr;
             return std::string(none ? "1" : "0") + Shown(b.BindTensor(0, TensorTypeInput, 0, TensorTypeInput)) +
                    Shown(b.Invoke());
         },
         Word(4), kSuccess, "1-1 不支持此操作0 "},
    };
}

// Serves a client. The client's model name is a row's number and a behaviour: "answer", "damage" (of the first
// size tag of the reply), "exit" or "crash". The load of a row with an `act` succeeds. Returns when the client sends
// another request than the row's.
int ActAsHost(const std::string& arguments) {
    if (!std::regex_match(arguments, std::regex(R"(Result(_\d+d_\d+)\|Call\1\|Channel\1\|22021120)"))) {
        return 1;
    }
    const std::vector<ClientCase> cases = ClientCases();
    SharedChannel channel;
    channel.Open(arguments);
    auto* const region = reinterpret_cast<char*>(channel.view->Data());
    constexpr size_t kWindow = 256;  // bytes of the region that this compares
    std::string expected;
    ClientCase next;
    std::string behaviour;
    while (channel.callEvent.Wait(30'000, Platform::Awaited::Work)) {
        const std::string request(region, kWindow);
        const bool initialises = request.compare(0, 12, Word(0) + LittleEndian(4, 4)) == 0;
        if (initialises) {
            uint32_t size = 0;
            std::memcpy(&size, region + 12, sizeof size);
            const OptionHandle option = CreateOption();
            InterpreterParams params;
            if (!option->Deserialize(region + 16, size) || option->Serialize(nullptr, 0) != size ||
                !option->ToParams(params).Ok() || params.host.empty()) {
                return 1;
            }
            next = cases.at(std::stoul(params.modelName));
            behaviour = params.modelName.substr(params.modelName.find(' ') + 1);
        } else if (request != expected) {
            std::cerr << "unexpected request: " << testing::PrintToString(request) << "\n";
            return 1;
        }
        std::string reply = kSuccess;
        if (!initialises || !next.act) {
            reply = next.reply;
            std::this_thread::sleep_for(behaviour == "exit" || behaviour == "crash" ? 50ms : 0ms);  // the client waits
            if (behaviour == "exit") {
                return 7;
            }
            if (behaviour == "crash") {
                Platform::FailFast();
            }
            reply[0] = static_cast<char>(reply[0] ^ (behaviour == "damage" ? 2 : 0));
        }
        std::copy(reply.begin(), reply.end(), region);
        expected = next.request + std::string(region + next.request.size(), kWindow - next.request.size());
        channel.resultEvent.Set();
    }
    return 0;
}

class Client : public HostFixture {
 protected:
    // Each call has its own thread: if an exception leaves a lock locked, the next call hangs.
    std::string ResultOf(size_t number, const std::string& behaviour) {
        const auto act = [&]() -> std::string {
            try {
                const std::string name = std::to_string(number) + " " + behaviour;
                const Status status = remote->Init(Params("", name, Platform::ProgramBeside("protocol_test")));
                return status.Ok() && cases[number].act ? cases[number].act(*remote) : Shown(status);
            } catch (const std::runtime_error& error) {
                return std::string("throws ") + error.what();
            }
        };
        return std::async(std::launch::async, act).get();
    }

    const std::vector<ClientCase> cases = ClientCases();
};

TEST_F(Client, SendsTheExpectedRequestsAndReadsReplies) {
    for (size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(ResultOf(i, "answer"), cases[i].result) << "case " << i;
        EXPECT_EQ(ResultOf(i, "damage"), kThrows) << "case " << i;
    }
    EXPECT_EQ(Children().size(), 1U) << "no reply ends the host";
}

TEST_F(Client, FailsWhenTheHostEndsAndWorksWithANewHost) {
    for (size_t i = 0; i < cases.size(); ++i) {
        for (const char* behaviour : {"exit", "crash"}) {
            if (cases[i].hostDied.empty()) {
                continue;
            }
            EXPECT_EQ(ResultOf(i, behaviour), cases[i].hostDied) << behaviour << " in case " << i;
            for (const ClientCase& other : cases) {
                EXPECT_TRUE(!other.act || other.hostDied.empty() || other.act(*remote) == other.hostDied)
                    << other.hostDied << ", without a host";
            }
            EXPECT_EQ(ResultOf(i, "answer"), cases[i].result) << "with a new host";
        }
    }
}

// --- The host program, with this program as its client ---

const std::string kRefused = Word(0xFFFFFFFF) + Text("refused");

TEST(Host, SendsTheExpectedReplies) {
    std::string cutOptions = InitRequest("echo 4");
    cutOptions[16] = 9;  // more entries than follow
    const struct {
        std::string request;
        std::string reply;
    } cases[] = {
        {InitRequest("echo 4 1 2"), kSuccess},
        {Word(1) + Word(0), Word(2)},
        {Word(1) + Word(1), Word(1)},
        {Word(1) + Word(7), Word(1)},
        {Word(2) + Word(0) + Word(1), Text("x1") + Word(4) + Word(1) + Word(1) + Word(4)},
        {Word(3) + Word(0) + Word(4) + "abcd", kSuccess},
        {Word(3) + Word(1) + Word(5) + "abcde", kRefused},
        {Word(4), kSuccess},
        {Word(5) + Word(0) + Word(4), Word(4) + "abcd" + kSuccess},
        {Word(5) + Word(0) + Word(3), Word(3) + LittleEndian(4, 3) + kRefused},  // three of the earlier bytes
        {Word(6) + Word(0), Word(4) + "abcd" + kSuccess},
        {Word(7), Word(1) + Text("kind") + Text("stub")},
        {Word(8) + Word(1) + Word(0) + Word(2) + Word(5) + Word(7), kSuccess},
        {Word(2) + Word(1) + Word(0), Text("y0") + Word(4) + Word(1) + Word(4) + Word(0) + Word(0) + Word(5) + Word(7)},
        {Word(8) + Word(1) + Word(0) + Word(0), kSuccess},
        {Word(2) + Word(1) + Word(0), Text("y0") + Word(4) + Word(1) + Word(0)},
        {Word(8) + Word(1) + Word(1) + Word(0), kRefused},
        {Word(10) + "as it was", ""},
        {Word(0xFFFFFFFF) + "as it was", ""},
        {cutOptions, kSuccess},                                       // the entries before the cut count
        {InitRequest("echo 4", "OptionCommonHost", "no"), kSuccess},  // a host ignores this option
        {InitRequest("fail for a reason"), Word(0xFFFFFFFF) + Text(" for a reason")},
        {Word(1) + Word(0), Word(0)},
        {Word(1) + Word(1), Word(0)},
        {Word(4), Word(0xFFFFFFFF) + Text("Not Init success!")},
        {Word(7), Word(0)},
        {InitRequest("echo 8168"), kSuccess},
        {Word(6) + Word(0), Word(8168) + std::string(8168, '\0') + kSuccess},  // up to the section's last byte
        {InitRequest("echo 4", "OptionCommonModelName", "look"), kSuccess},
        {Word(3) + Word(0) + Word(4) + "abcd", kSuccess},
        {Word(9) + "as it was", ""},
    };
    HostUnderTest host(kStubHost);
    for (const auto& [request, reply] : cases) {
        ASSERT_TRUE(host.RepliesTo(request, reply));
    }
    EXPECT_EQ(host.End(), "0") << "the model is destroyed before the channel, so it could read its last data";
    EXPECT_FALSE(host.RepliesAgain());
}

TEST(Host, ReturnsAnExitValueForItsArguments) {
    const struct {
        std::string from, to;
        std::string end;
    } cases[] = {
        {"|8192", "| +8192x", "0"}, {"Result", "|", "-1"},        {"Result", "Another", "-1"},
        {"Call", "Another", "-1"},  {"Channel", "x", "-1"},       {"|8192", "|98192", "-1"},
        {"|8192", "|-1", "-1"},     {"|8192", "", "failed fast"}, {"|8192", "|x8192", "failed fast"},
    };
    for (const auto& [from, to, end] : cases) {
        HostUnderTest host(kStubHost, from, to);
        if (end != "-1") {
            EXPECT_TRUE(host.RepliesTo(Word(10), "")) << "an unknown call needs no memory for a reply";
            EXPECT_EQ(host.RepliesTo(InitRequest("echo 4")), end == "0") << to;
            EXPECT_TRUE(end != "0" || host.RepliesTo(Word(9), "")) << to;
        }
        EXPECT_EQ(host.End(), end) << from << " -> " << to;
    }
}

TEST(Host, CrashesOnAnInvalidRequest) {
    const std::string tensorCalls[] = {Word(2) + Word(1) + Word(0), Word(3) + Word(0) + Word(0), Word(6) + Word(0),
                                       Word(5) + Word(0) + Word(0), Word(8) + Word(1) + Word(0) + Word(0)};
    std::vector<std::pair<std::string, std::string>> cases = {
        {"", Word(1) + Word(0)},
        {"", Word(4)},
        {"", Word(7)},
        {"", LongWord(4)},
        {InitRequest("echo 4"), Word(8) + Word(1) + Word(0) + Word(2) + LongWord(5) + LongWord(7)},
        {InitRequest("echo 8192"), Word(6) + Word(0)},
        {InitRequest("echo 4", "OptionCommonModelName", "crash"), Word(4)},
        {InitRequest("echo 4", "OptionCommonModelName", "throw"), Word(4)},
    };
    for (const std::string& call : tensorCalls) {
        cases.emplace_back("", call);
        cases.emplace_back(InitRequest("fail"), call);
    }
    for (const auto& [before, request] : cases) {
        HostUnderTest host(kStubHost);
        EXPECT_TRUE(before.empty() || host.RepliesTo(before));
        EXPECT_FALSE(host.RepliesTo(request)) << testing::PrintToString(request);
        const std::string end = host.End();
        EXPECT_TRUE(end != "0" && end != "-1") << end << " after " << testing::PrintToString(request);
    }
}

TEST(Host, ClearsTheEndOfTheSectionWhenAReplyDoesNotFit) {
    HostUnderTest host(kStubHost);
    EXPECT_TRUE(host.RepliesTo(InitRequest("echo 8169")));
    std::string request = Word(6) + Word(0);
    request.resize(HostUnderTest::kSize, 'x');
    EXPECT_FALSE(host.RepliesTo(request));
    EXPECT_EQ(host.SectionBytes().substr(8181), LittleEndian(0, 4) + LittleEndian(1, 4) + std::string(3, '\0'));
}

}  // namespace
}  // namespace Orvane

// This is also a host program; then its only argument describes the channel. NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
    if (argc == 2 && std::strchr(argv[1], '|') != nullptr) {
        return Orvane::ActAsHost(argv[1]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
