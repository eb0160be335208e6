// The client's readers of replies: they read a reply exactly as it is, or refuse it.
#include "backends/remote/remote_wrapper.h"
#include "fuzz/fake_host.h"
#include "fuzz/fuzz_target.h"
#include "ipc/call_protocol.h"

#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Orvane {
namespace {

using namespace std::string_literals;
using Fuzz::Input;
using Fuzz::Require;

constexpr uint32_t kSize = RemoteWrapper::kChannelSize;
const std::string kThrows = "throws";
const std::string kNothing = "nothing";  // a null pointer

// Reads a reply without the client's code.
class Reply {
 public:
    struct ExceedsTheSection {};
    struct HasAnotherTag {};
    struct IsSlow {};  // to read: megabytes of zeros, as in many other replies

    explicit Reply(const uint8_t* memory) : section(memory) {}

    uint32_t Word() {
        Expect(4);
        return Raw();
    }

    std::string Text() {
        Expect(1);
        const uint32_t size = Raw();
        return {reinterpret_cast<const char*>(Bytes(size)), size};
    }

    std::string Run() {
        const uint32_t size = Word();
        return {reinterpret_cast<const char*>(Bytes(size)), size};
    }

 private:
    const uint8_t* Bytes(uint32_t size) {
        if (size > kSize - place) {
            throw ExceedsTheSection();
        }
        if (size > kNear && size < kSize - kNear) {
            throw IsSlow();
        }
        return section + std::exchange(place, place + size);
    }
    uint32_t Raw() {
        uint32_t word = 0;
        std::memcpy(&word, Bytes(sizeof word), sizeof word);
        return word;
    }
    void Expect(uint32_t tag) {
        if (Raw() != tag) {
            throw HasAnotherTag();
        }
    }

    static constexpr uint32_t kNear = 2000;  // bytes from an end

    const uint8_t* section;
    uint32_t place = 0;
};

std::string Shown(int32_t code, const std::string& message) {
    const std::string text = message.empty() && code != 0 ? "Unknown Error" : message;
    return std::to_string(code) + " " + text;
}

std::string ShownStatus(Reply& reply) {
    const auto code = static_cast<int32_t>(reply.Word());
    return Shown(code, reply.Text());
}

const std::string kSuccess = Shown(0, "");

std::string ShownInfo(const TensorInfo& info) {
    std::string text = info.name + "|" + std::to_string(info.dataType) + "|" + std::to_string(info.format);
    for (const int64_t dimension : info.shape) {
        text.append("|").append(std::to_string(dimension));
    }
    return text;
}

template <typename Pairs>
std::string ShownPairs(const Pairs& pairs) {
    std::string text = "|";
    for (const auto& [key, value] : std::map<std::string, std::string>(pairs.begin(), pairs.end())) {
        text.append(key).append("=").append(value).append("|");
    }
    return text;
}

// The result of a call without a host.
std::string WithoutHost(uint32_t call) {
    switch (call) {
        case CallGetTensorCount:
            return "0";
        case CallGetTensorInfo:
            return ShownInfo({});
        case CallGetTensorData:
            return kNothing;
        case CallGetExtraInfo:
            return ShownPairs(std::map<std::string, std::string>());
        case CallSetTensorShape:
            return "-1 host call  error";
        default:
            return "-1 Orvane Host Exit";
    }
}

std::string ShownOutput(Reply& reply, const std::string& nothing) {
    const std::string output = reply.Run();
    const std::string status = ShownStatus(reply);
    return status == kSuccess ? output : nothing.empty() ? status : nothing;
}

std::string ShownReply(uint32_t call, Reply& reply) {
    switch (call) {
        case CallGetTensorCount:
            return std::to_string(static_cast<int32_t>(reply.Word()));
        case CallGetTensorInfo: {
            TensorInfo info;
            info.name = reply.Text();
            info.dataType = static_cast<DataType>(reply.Word());
            info.format = reply.Word();
            for (uint32_t rank = reply.Word(); rank > 0; --rank) {
                info.shape.push_back(reply.Word());
            }
            return ShownInfo(info);
        }
        case CallCopyOutputTo:
            return ShownOutput(reply, "");
        case CallGetTensorData:
            return ShownOutput(reply, kNothing);
        case CallGetExtraInfo: {
            std::map<std::string, std::string> pairs;
            for (uint32_t count = reply.Word(); count > 0; --count) {
                std::string key = reply.Text();
                pairs[std::move(key)] = reply.Text();
            }
            return ShownPairs(pairs);
        }
        default:
            return ShownStatus(reply);
    }
}

// A client, and a host that sends given replies.
class Client {
 public:
    Client() {
        Fuzz::fakeHost = [this](uint8_t* section) { return AnswerIn(section); };
        Send(CallInit, "\4\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0"s);
        Require(expected == kSuccess, "the client loads a model");
    }

    // Makes a call. The host sends this reply, or ends without one. Returns the size of the result.
    size_t Send(uint32_t call, std::optional<std::string> replyOfHost) {
        sentCall = call;
        reply = std::move(replyOfHost);
        expected = WithoutHost(call);
        const bool hadHost = hasHost || call == CallInit;
        wasCalled = false;
        std::string result;
        try {
            result = Called(call);
        } catch (const std::runtime_error&) {
            result = kThrows;
        }
        Require(result == expected, "the client reads the reply exactly");
        Require(wasCalled == hadHost, "the client sends a request if, and only if, it has a host");
        return result.size();
    }

 private:
    bool AnswerIn(uint8_t* section) {
        uint32_t call = 0;
        std::memcpy(&call, section + sizeof call, sizeof call);
        Require(call == sentCall && !wasCalled, "the client sends each call once");
        wasCalled = true;
        hasHost = reply.has_value();
        if (!hasHost) {
            return false;
        }
        std::copy(reply->begin(), reply->end(), section);
        Reply reader(section);
        try {
            expected = ShownReply(sentCall, reader);
        } catch (const Reply::ExceedsTheSection&) {
            hasHost = false;
        } catch (const Reply::HasAnotherTag&) {
            expected = kThrows;
        } catch (const Reply::IsSlow&) {
            return hasHost = false;
        }
        pointed = section;
        return true;
    }

    static std::string Of(const Status& status) { return Shown(status.code, status.message); }

    std::string Called(uint32_t call) {
        static const auto output = std::make_unique_for_overwrite<char[]>(kSize);
        constexpr uint32_t kIndex = 3;
        switch (call) {
            case CallInit:
                return Of(wrapper.Init({}));
            case CallGetTensorCount:
                return std::to_string(wrapper.GetTensorCount(TensorTypeOutput));
            case CallGetTensorInfo:
                return ShownInfo(wrapper.GetTensorInfo(TensorTypeOutput, kIndex));
            case CallSetInputData:
                return Of(wrapper.SetInputData(kIndex, "data", 4));
            case CallInvoke:
                return Of(wrapper.Invoke());
            case CallCopyOutputTo: {
                const Status status = wrapper.CopyOutputTo(kIndex, output.get(), 4);
                return status.Ok() ? std::string(output.get(), OutputSize()) : Of(status);
            }
            case CallGetTensorData: {
                const auto* data = static_cast<const char*>(wrapper.GetTensorData(TensorTypeOutput, kIndex));
                return data != nullptr ? std::string(data, OutputSize()) : kNothing;
            }
            case CallGetExtraInfo:
                return ShownPairs(wrapper.GetExtraInfo());
            default:
                return Of(wrapper.SetTensorShape(TensorTypeOutput, kIndex, {1, -1}));
        }
    }

    // The number of output bytes according to the last reply.
    uint32_t OutputSize() const { return Reply(pointed).Word(); }

    uint32_t sentCall = 0;
    std::optional<std::string> reply;
    std::string expected;
    bool wasCalled = false;
    bool hasHost = false;
    const uint8_t* pointed = nullptr;
    RemoteWrapper wrapper;
};

}  // namespace
}  // namespace Orvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Orvane::Fuzz::Input input(data, size);
    Orvane::Client client;
    constexpr size_t kMostRead = 100'000;  // one text may be as long as the channel: stop then
    size_t read = 0;
    while (!input.IsAtEnd() && read < kMostRead) {
        const uint32_t call = input.TakeNumber(1);
        const std::string reply = input.TakeRun(input.TakeNumber(2));
        const bool dies = call >= 0xF0;
        read += client.Send(call % Orvane::CallExit, dies ? std::nullopt : std::optional(reply));
    }
    return 0;
}
