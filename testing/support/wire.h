#pragma once

#include "ipc/shared_channel.h"
#include "testing/support/processes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Builds the bytes of the call protocol without the product's code, and sends them as a client does.
namespace Orvane::Testing::Wire {

inline std::string LittleEndian(uint64_t value, size_t size) {
    std::string bytes;
    for (; size > 0; --size, value >>= 8) {
        bytes.push_back(static_cast<char>(value & 0xFF));
    }
    return bytes;
}

// A value of 32 bits.
inline std::string Word(uint64_t value) {
    return LittleEndian(4, 4) + LittleEndian(value, 4);
}

inline std::string LongWord(uint64_t value) {
    return LittleEndian(8, 4) + LittleEndian(value, 8);
}

inline std::string Text(const std::string& text) {
    return LittleEndian(1, 4) + LittleEndian(text.size(), 4) + text;
}

inline const std::string kSuccess = Word(0) + Text("");

// A request to load `modelPath`, with the required options and one more text if `key` is not empty.
inline std::string InitRequest(const std::string& modelPath, const std::string& key = "",
                               const std::string& text = "") {
    const auto entry = [](const std::string& name, char tag) { return LittleEndian(name.size(), 8) + name + tag; };
    const auto textEntry = [&entry](const std::string& name, const std::string& value) {
        return entry(name, 5) + LittleEndian(value.size(), 8) + value;
    };
    constexpr uint32_t kOpenvino = 5;
    const std::string options = LittleEndian(key.empty() ? 2 : 3, 8) + entry("OptionCommonFramework", 3) +
                                LittleEndian(kOpenvino, 4) + textEntry("OptionCommonModelPath", modelPath) +
                                (key.empty() ? "" : textEntry(key, text));
    return Word(0) + Word(options.size()) + options;
}

// A host program and the client's side of its channel.
class HostUnderTest {
 public:
    static constexpr uint32_t kSize = 8192;

    // Replaces `from` by `to` in the host's arguments.
    explicit HostUnderTest(const std::string& program, const std::string& from = "", const std::string& to = "")
        : process(program, Arguments(channel, from, to)) {}

    // Sends the request, followed by zeros. Returns false if the host ends instead of replying. Waits up to 30 seconds.
    bool RepliesTo(const std::string& request) {
        std::memset(channel.view->Data(), 0, kSize);
        std::memcpy(channel.view->Data(), request.data(), request.size());
        channel.callEvent.Set();
        bool replied = false;
        EXPECT_TRUE(Within(kPatience,
                           [&] {
                               replied = channel.resultEvent.Wait(1, Platform::Awaited::Result);
                               return replied || !process.Lives();
                           }))
            << "the host neither replies nor ends: " << testing::PrintToString(request);
        return replied || RepliesAgain();  // a host may end right after its last reply
    }

    // The same, but the host must reply with these bytes and leave the rest of the section unchanged.
    bool RepliesTo(const std::string& request, const std::string& reply) {
        const bool replies = RepliesTo(request);
        EXPECT_TRUE(replies) << testing::PrintToString(request);
        const std::string sent = request + std::string(kSize - request.size(), '\0');
        const std::string expected = reply + sent.substr(reply.size());
        EXPECT_TRUE(SectionBytes() == expected) << testing::PrintToString(request) << " has the reply "
                                                << testing::PrintToString(SectionBytes().substr(0, reply.size()));
        return replies;
    }

    std::string SectionBytes() const { return {reinterpret_cast<const char*>(channel.view->Data()), kSize}; }
    bool RepliesAgain() { return channel.resultEvent.Wait(0, Platform::Awaited::Result); }
    std::string End() const { return process.End(); }

 private:
    static std::string Arguments(SharedChannel& channel, const std::string& from, const std::string& to) {
        channel.Create(kSize);
        std::string arguments = channel.hostArguments;
        return arguments.replace(arguments.find(from), from.size(), to);
    }

    SharedChannel channel;
    Process process;
};

}  // namespace Orvane::Testing::Wire
