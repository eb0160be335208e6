// Each side of the call protocol against bytes that were put together here, without the code that writes them.
#include <orvane/option_v2.h>

#include "core/backend_factory.h"
#include "ipc/shared_channel.h"
#include "platform/host_process.h"
#include "platform/process.h"
#include "testing/shown_replies.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <future>
#include <iostream>

namespace Orvane {
namespace {

constexpr const char* kMismatch = "读取类型和写入大小不匹配";

std::string LittleEndian(uint64_t value, size_t size) {
    std::string bytes;
    for (; size > 0; --size, value >>= 8) {
        bytes.push_back(static_cast<char>(value & 0xFF));
    }
    return bytes;
}

std::string Word(uint64_t value) {
    return LittleEndian(4, 4) + LittleEndian(value, 4);
}

std::string LongWord(uint64_t value) {
    return LittleEndian(8, 4) + LittleEndian(value, 8);
}

std::string Text(const std::string& text) {
    return LittleEndian(1, 4) + LittleEndian(text.size(), 4) + text;
}

const std::string kOk = Word(0) + Text("");

using Testing::Shown;

// --- The client, against a host that this program plays ---

// How many bytes of the region a played host looks at and writes.
constexpr size_t kWindow = 256;

struct ClientCase {
    std::function<std::string(IOrvane&)> act;
    std::string request;
    std::string reply;
    std::string result;
};

std::string ShownExtraInfo(IOrvane& backend) {
    std::string text;
    for (const auto& [key, value] : backend.GetExtraInfo()) {
        text.append(key).append("=").append(value);
    }
    return text;
}

std::vector<ClientCase> ClientCases() {
    const auto info = [](IOrvane& b) { return Testing::ShownInfo(b, 3); };
    const auto copy = [](IOrvane& b) { return Testing::ShownCopy(b, 1); };
    const auto data = [](IOrvane& b) { return Testing::ShownData(b, 4, 2); };
    const auto invoke = [](IOrvane& b) { return Shown(b.Invoke()); };
    const auto shape = [](const std::vector<int64_t>& dimensions) {
        return [dimensions](IOrvane& b) { return Shown(b.SetTensorShape(TensorTypeOutput, 2, dimensions)); };
    };
    const std::string throws = std::string("throws ") + kMismatch;
    const std::string infoRequest = Word(2) + Word(1) + Word(3);
    const std::string copyRequest = Word(5) + Word(1) + Word(3);
    return {
        {[](IOrvane& b) { return std::to_string(b.GetTensorCount(TensorTypeOutput)); }, Word(1) + Word(1),
         Word(0xFFFFFFFE), "-2"},
        {info, infoRequest, Text("y") + Word(9) + Word(6) + Word(2) + Word(0xFFFFFFFF) + Word(7), "y 9 6 4294967295 7"},
        {info, infoRequest, Word(1) + Word(9) + Word(6) + Word(0), throws},
        {info, infoRequest, Text("y") + LongWord(9) + Word(6) + Word(0), throws},
        {info, infoRequest, Text("y") + Word(9) + Text("") + Word(0), throws},
        {info, infoRequest, Text("y") + Word(9) + Word(6) + Word(1) + LongWord(7), throws},
        {[](IOrvane& b) { return Shown(b.SetInputData(2, "abc", 3)); }, Word(3) + Word(2) + Word(3) + "abc",
         Word(5) + Text("no"), "5 no"},
        {invoke, Word(4), kOk, "0 "},
        {invoke, Word(4), Word(7) + Text(""), "7 Unknown Error"},
        {invoke, Word(4), Word(0) + Text("odd"), "0 odd"},
        {invoke, Word(4), Text("") + Text(""), throws},
        {copy, copyRequest, Word(3) + "abc" + kOk, "0  abc"},
        {copy, copyRequest, Word(3) + "abc" + Word(0xFFFFFFFF) + Text("no"), "-1 no ___"},
        {data, Word(6) + Word(4), Word(2) + "ab" + kOk, "ab"},
        {data, Word(6) + Word(4), Word(2) + "ab" + Word(1) + Text("no"), "null"},
        {ShownExtraInfo, Word(7), Word(2) + Text("k") + Text("a") + Text("k") + Text("b"), "k=b"},
        {ShownExtraInfo, Word(7), Word(1) + Text("k") + Word(1), throws},
        {shape({5, -1}), Word(8) + Word(1) + Word(2) + Word(2) + LongWord(5) + LongWord(~uint64_t{0}), kOk, "0 "},
        {shape({}), Word(8) + Word(1) + Word(2) + Word(0), kOk, "0 "},
        // An unexpected exchange for either of the first two would end the host.
        {[&](IOrvane& b) {
             const bool none = b.GetTensorData(TensorTypeInput, 0) == nullptr;
             return std::string(none ? "1" : "0") + Shown(b.BindTensor(0, TensorTypeInput, 0, TensorTypeInput)) +
                    Shown(b.Invoke());
         },
         Word(4), kOk, "1-1 不支持此操作0 "},
    };
}

// Answers each initialisation with a success; its model name is the number of the case that comes next. A request that
// differs from the case's by one byte ends this host.
int PlayHost(const std::string& arguments) {
    const std::vector<ClientCase> cases = ClientCases();
    SharedChannel channel;
    channel.Open(arguments);
    auto* const region = reinterpret_cast<char*>(channel.view.Data());
    std::string expected;
    const ClientCase* next = nullptr;
    while (channel.callEvent.Wait(30'000, Platform::Awaited::Work)) {
        const std::string request(region, kWindow);
        std::string reply = kOk;
        if (request.compare(0, 12, Word(0) + LittleEndian(4, 4)) == 0) {
            uint32_t size = 0;
            std::memcpy(&size, region + 12, sizeof size);
            const OptionHandle option = CreateOption();
            InterpreterParams params;
            if (!option->Deserialize(region + 16, size) || option->Serialize(nullptr, 0) != size ||
                !option->ToParams(params).Ok() || params.host.empty()) {
                return 1;
            }
            next = &cases.at(std::stoul(params.modelName));
        } else if (request == expected) {
            reply = next->reply;
        } else {
            std::cerr << "not the expected request: " << testing::PrintToString(request) << "\n";
            return 1;
        }
        std::copy(reply.begin(), reply.end(), region);
        expected = next->request + std::string(region + next->request.size(), kWindow - next->request.size());
        channel.resultEvent.Set();
    }
    return 0;
}

TEST(RemoteWrapper, WritesAndReadsTheseBytes) {
    const std::unique_ptr<IOrvane> backend = CreateRemoteBackend();
    InterpreterParams params;
    params.host = Platform::ProgramBeside("protocol_test");
    const std::vector<ClientCase> cases = ClientCases();
    for (size_t i = 0; i < cases.size(); ++i) {
        params.modelName = std::to_string(i);
        // A thread for each: a lock that an exception left locked would stop the next one.
        const auto outcome = std::async(std::launch::async, [&] {
                                 const Status initialised = backend->Init(params);
                                 try {
                                     return initialised.Ok() ? cases[i].act(*backend) : Shown(initialised);
                                 } catch (const std::runtime_error& error) {
                                     return std::string("throws ") + error.what();
                                 }
                             }).get();
        EXPECT_EQ(outcome, cases[i].result) << "case " << i;
    }
}

// --- The host program, against a client that this program plays ---

// A request to load what `modelPath` says, with the options that there must be and those that are given.
std::string InitRequest(const std::string& modelPath, const std::string& host = "") {
    const auto textOption = [](const std::string& key, const std::string& value) {
        return LittleEndian(key.size(), 8) + key + "\5" + LittleEndian(value.size(), 8) + value;
    };
    const std::string framework = "OptionCommonFramework";
    const std::string options = LittleEndian(host.empty() ? 2 : 3, 8) + LittleEndian(framework.size(), 8) + framework +
                                "\3" + LittleEndian(FrameworkTypeOpenvinoPlain, 4) +
                                textOption("OptionCommonModelPath", modelPath) +
                                (host.empty() ? "" : textOption("OptionCommonHost", host));
    return Word(0) + Word(options.size()) + options;
}

// A host program and the client's side of its channel.
class HostUnderTest {
 public:
    HostUnderTest() {
        channel.Create(kSize);
        EXPECT_FALSE(process.Launch(Platform::ProgramBeside("stub_host"), channel.hostArguments));
    }

    // Sends the request, with zeros behind it. False when the host ended instead of answering; it has 5 seconds.
    bool Answers(const std::string& request) {
        std::memset(channel.view.Data(), 0, kSize);
        std::memcpy(channel.view.Data(), request.data(), request.size());
        channel.callEvent.Set();
        for (const auto end = Now() + std::chrono::seconds(5); Now() < end;) {
            if (channel.resultEvent.Wait(1, Platform::Awaited::Result)) {
                return true;
            }
            if (!process.IsAlive()) {
                return false;
            }
        }
        ADD_FAILURE() << "neither answer nor end: " << testing::PrintToString(request);
        return false;
    }

    std::string Region(size_t size) const {
        return {reinterpret_cast<const char*>(channel.view.Data()), std::min<size_t>(size, kSize)};
    }

 private:
    static constexpr uint32_t kSize = 8192;
    static std::chrono::steady_clock::time_point Now() { return std::chrono::steady_clock::now(); }

    SharedChannel channel;
    Platform::HostProcess process;
};

const std::string kRefused = Word(0xFFFFFFFF) + Text("refused");

TEST(Host, AnswersWithTheseBytes) {
    const struct {
        std::string request;
        std::string reply;
    } cases[] = {
        {InitRequest("echo 4 1 2"), kOk},
        {Word(1) + Word(0), Word(2)},
        {Word(1) + Word(1), Word(1)},
        {Word(1) + Word(7), Word(1)},
        {Word(2) + Word(0) + Word(1), Text("x1") + Word(4) + Word(1) + Word(1) + Word(4)},
        {Word(3) + Word(0) + Word(4) + "abcd", kOk},
        {Word(3) + Word(1) + Word(5) + "abcde", kRefused},
        {Word(4), kOk},
        {Word(5) + Word(0) + Word(4), Word(4) + "abcd" + kOk},
        {Word(5) + Word(0) + Word(3), Word(3) + LittleEndian(4, 3) + kRefused},  // the three bytes that stood there
        {Word(6) + Word(0), Word(4) + "abcd" + kOk},
        {Word(7), Word(1) + Text("kind") + Text("stub")},
        {Word(8) + Word(1) + Word(0) + Word(2) + Word(5) + Word(7), kOk},
        {Word(2) + Word(1) + Word(0), Text("y0") + Word(4) + Word(1) + Word(4) + Word(0) + Word(0) + Word(5) + Word(7)},
        {Word(8) + Word(1) + Word(0) + Word(0), kOk},
        {Word(2) + Word(1) + Word(0), Text("y0") + Word(4) + Word(1) + Word(0)},
        {Word(12) + "as it was", Word(12) + "as it was"},
        {InitRequest("echo 4", "no host"), kOk},  // here, whatever host the options name
        {InitRequest("fail for a reason"), Word(0xFFFFFFFF) + Text(" for a reason")},
        {Word(1) + Word(1), Word(0)},
        {Word(4), Word(0xFFFFFFFF) + Text("Not Init success!")},
        {Word(7), Word(0)},
        {InitRequest("echo 4"), kOk},
        {Word(9) + "as it was", Word(9) + "as it was"},
    };
    HostUnderTest host;
    for (const auto& [request, reply] : cases) {
        ASSERT_TRUE(host.Answers(request)) << testing::PrintToString(request);
        EXPECT_EQ(host.Region(reply.size()), reply) << testing::PrintToString(request);
    }
    EXPECT_FALSE(host.Answers(Word(4))) << "still there after the exit call";
}

TEST(Host, EndsAtARequestThatItCannotServe) {
    const std::string tensorCalls[] = {Word(2) + Word(1) + Word(0), Word(3) + Word(0) + Word(0), Word(6) + Word(0),
                                       Word(5) + Word(0) + Word(0), Word(8) + Word(1) + Word(0) + Word(0)};
    std::vector<std::pair<std::string, std::string>> cases = {
        {"", Word(1) + Word(0)},
        {"", Word(4)},
        {"", Word(7)},
        {"", LongWord(4)},
        {InitRequest("echo 4"), Word(8) + Word(1) + Word(0) + Word(2) + LongWord(5) + LongWord(7)},
        {InitRequest("echo 8192"), Word(6) + Word(0)},
        {InitRequest("echo 8169"), Word(6) + Word(0)},
    };
    for (const std::string& call : tensorCalls) {
        cases.emplace_back("", call);
        cases.emplace_back(InitRequest("fail"), call);
    }
    for (const auto& [before, request] : cases) {
        HostUnderTest host;
        EXPECT_TRUE(before.empty() || host.Answers(before));
        EXPECT_FALSE(host.Answers(request)) << testing::PrintToString(request);
    }
}

TEST(Host, AnswersOrEndsAtEveryDamagedRequest) {
    const std::string requests[] = {
        InitRequest("echo 4"),
        Word(3) + Word(0) + Word(4) + "abcd",
        Word(5) + Word(0) + Word(4),
        Word(8) + Word(1) + Word(0) + Word(2) + Word(5) + Word(7),
    };
    auto host = std::make_unique<HostUnderTest>();
    size_t answers = 0;
    size_t ends = 0;
    const auto send = [&](const std::string& damaged) {
        if (!host->Answers(InitRequest("echo 4"))) {  // it left after a damaged request that read as an exit call
            host = std::make_unique<HostUnderTest>();
            ASSERT_TRUE(host->Answers(InitRequest("echo 4")));
        }
        const bool answered = host->Answers(damaged);
        ++(answered ? answers : ends);
        if (!answered) {
            host = std::make_unique<HostUnderTest>();
        }
    };
    for (const std::string& request : requests) {
        for (size_t length = 0; length < request.size(); ++length) {
            send(request.substr(0, length));
        }
        for (size_t bit = 0; bit < request.size() * 8; ++bit) {
            std::string damaged = request;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
            send(damaged);
        }
    }
    EXPECT_GT(answers, 0U);
    EXPECT_GT(ends, 0U);
    std::cout << answers << " answers, " << ends << " ends\n";
}

}  // namespace
}  // namespace Orvane

// A host program as well: its one argument is then the channel's.
int main(int argc, char** argv) {
    if (argc == 2 && std::strchr(argv[1], '|') != nullptr) {
        return Orvane::PlayHost(argv[1]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
