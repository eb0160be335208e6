#include "testing/support/wire.h"

#include <gtest/gtest.h>

#include <cstring>

namespace Orvane::Testing::Wire {

namespace {

std::string Arguments(SharedChannel& channel, uint32_t size, const std::string& from, const std::string& to) {
    channel.Create(size);
    std::string arguments = channel.hostArguments;
    return arguments.replace(arguments.find(from), from.size(), to);
}

}  // namespace

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

std::string InitRequest(const std::string& modelPath, const std::string& key, const std::string& text) {
    const auto option = [](const std::string& name, char tag, const std::string& value) {
        return name.empty() ? "" : LittleEndian(name.size(), 8) + name + tag + value;
    };
    const auto textOption = [&](const std::string& name, const std::string& value) {
        return option(name, 5, LittleEndian(value.size(), 8) + value);
    };
    constexpr uint32_t kOpenvino = 5;
    const std::string options = LittleEndian(key.empty() ? 2 : 3, 8) +
                                option("OptionCommonFramework", 3, LittleEndian(kOpenvino, 4)) +
                                textOption("OptionCommonModelPath", modelPath) + textOption(key, text);
    return Word(0) + Word(options.size()) + options;
}

HostUnderTest::HostUnderTest(const std::string& program, const std::string& from, const std::string& to)
    : process(program, Arguments(channel, kSize, from, to)) {}

bool HostUnderTest::Answers(const std::string& request) {
    std::memset(channel.view.Data(), 0, kSize);
    std::memcpy(channel.view.Data(), request.data(), request.size());
    channel.callEvent.Set();
    bool answered = false;
    EXPECT_TRUE(Within(std::chrono::seconds(10),
                       [&] {
                           answered = channel.resultEvent.Wait(1, Platform::Awaited::Result);
                           return answered || !process.Lives();
                       }))
        << "neither answer nor end: " << testing::PrintToString(request);
    return answered || AnswersAgain();  // the exit call's answer is a host's last
}

bool HostUnderTest::Answers(const std::string& request, const std::string& reply) {
    const bool answers = Answers(request);
    EXPECT_TRUE(answers) << testing::PrintToString(request);
    const std::string sent = request + std::string(kSize - request.size(), '\0');
    const std::string expected = reply + sent.substr(reply.size());
    EXPECT_TRUE(Region() == expected) << testing::PrintToString(request) << " gives "
                                      << testing::PrintToString(Region().substr(0, reply.size()));
    return answers;
}

}  // namespace Orvane::Testing::Wire
