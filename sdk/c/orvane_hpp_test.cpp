// Tests the C++ header with stub models and the library that runs models in a host process only.
#include <orvane/orvane.hpp>

#include "testing/support/host_fixture.h"
#include "testing/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orvane {
namespace {

using Bytes = std::vector<uint8_t>;

Options StubOptions(const std::string& model) {
    Options options;
    options.modelPath = model;
    options.cachePath = Orvane::Testing::kStubHost;  // if a cache file exists, the SDK requires no model file
    options.hostProgram = Orvane::Testing::kStubHost;
    return options;
}

template <typename Work>
std::string Thrown(Reason reason, Work work, int32_t systemError = 0) {
    try {
        work();
    } catch (const Error& error) {
        EXPECT_EQ(error.GetReason(), reason);
        EXPECT_EQ(error.GetSystemError(), systemError);
        return error.what();
    }
    return "nothing thrown";
}

TEST(OrvaneHpp, MovesDataInAndOutOfEveryKindOfContainer) {
    Model model(StubOptions("echo 4"));
    const Bytes sent = {1, 2, 3, 255};
    model.Set("x0", sent);
    model.Run();
    std::array<uint8_t, 4> received{};
    model.Get(0, received);
    EXPECT_EQ(Bytes(received.begin(), received.end()), sent);
    EXPECT_EQ(model.Get<uint8_t>("y0"), sent);
    EXPECT_EQ(model.Get<std::byte>(0).at(3), std::byte{255});
    EXPECT_EQ(model.View<uint8_t>(0)[3], 255);

    Bytes backwards = {4, 3, 2, 1};
    model.Set(0, std::span<const uint8_t>(backwards));
    model.Run();
    model.Get("y0", std::span<uint8_t>(backwards).first(4));
    EXPECT_EQ(backwards, (Bytes{4, 3, 2, 1}));

    const std::span<uint8_t> memory = model.InputMemory<uint8_t>("x0");
    std::copy(sent.begin(), sent.end(), memory.begin());
    model.Set("x0", memory);
    model.Run();
    EXPECT_EQ(model.Get<uint8_t>(0), sent);
    model.Set(0, backwards);
    model.Run();

    Model other = std::move(model);
    EXPECT_EQ(other.Get<uint8_t>(0), backwards);
    model = std::move(other);
    const Tensor& output = model.Output("y0");
    EXPECT_EQ(output.Label() + " " + NameOf(output.type), "output 0 \"y0\" uint8");
    EXPECT_EQ(output.shape, std::vector<int64_t>{4});
    EXPECT_EQ(output.byteSize, 4U);
}

TEST(OrvaneHpp, RefusesWrongTypesSizesAndNames) {
    Model model(StubOptions("echo 4"));
    const auto bad = Reason::BadArgument;
    EXPECT_EQ(Thrown(bad, [&] { model.Set(0, std::vector<float>{1}); }),
              "input 0 \"x0\" has elements of type uint8: pass a container of that type");
    EXPECT_EQ(Thrown(bad, [&] { model.Set(-1, Bytes(4)); }), "there is no input -1: the model's inputs are 0 \"x0\"");
    EXPECT_EQ(Thrown(bad, [&] { model.Get<uint8_t>("y"); }),
              "there is no output \"y\": the model's outputs are 0 \"y0\"");
    EXPECT_NE(Thrown(Reason::Refused, [&] { model.Resize(0, {4}); }), "");
    Options options = StubOptions("echo 4");
    options.timeLimit = std::chrono::milliseconds(-1);
    EXPECT_NE(Thrown(bad, [&] { Model{options}; }).find("a time limit of -1 ms"), std::string::npos);
    options = StubOptions("echo 4");
    options.hostProgram = "no_such_host";
    EXPECT_NE(Thrown(
                  Reason::System, [&] { Model{options}; }, 2),
              "");
}

TEST(OrvaneHpp, ThrowsHostEndedAndRestartsTheHost) {
    Model model(StubOptions("echo 4;sleep 20000"));
    const Bytes sent(4);
    for (int round = 0; round < 2; ++round) {
        model.Set(0, sent);
        std::thread interrupter([&model] {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            model.Interrupt();
        });
        EXPECT_NE(Thrown(Reason::HostEnded, [&] { model.Run(); }).find("interrupted"), std::string::npos);
        interrupter.join();
        try {
            model.Set(0, sent);
            ADD_FAILURE() << "the host has not ended";
        } catch (const HostEnded& error) {
            EXPECT_EQ(error.GetCause(), HostEnd::Interrupted);
        }
        model.Restart();
    }
}

TEST(OrvaneHpp, ProgressCancelsACallOrThrowsOutOfIt) {
    std::vector<LoadStep> steps;
    bool continues = true;
    Options options = StubOptions("echo 4;sleep 20000");
    options.progress = [&](LoadStep step) {
        steps.push_back(step);
        if (!continues && steps.size() % 2 == 0) {
            throw std::out_of_range("thrown by the application");
        }
        return continues;
    };
    Model loaded(options);
    EXPECT_EQ(steps.front(), LoadStep::StartingHost);
    Model model = std::move(loaded);
    model.Set(0, Bytes(4));
    continues = false;
    steps.resize(2);
    EXPECT_NE(Thrown(Reason::Cancelled, [&] { model.Run(); }), "");
    EXPECT_EQ(steps.back(), LoadStep::None);
    EXPECT_THROW(model.Restart(), std::out_of_range);
    EXPECT_THROW(model.Run(), HostEnded);
}

TEST(OrvaneHpp, ACancelledEncryptionLeavesNoFile) {
    const Orvane::Testing::TemporaryFolder folder;
    const std::string large = folder.Write("large.onnx", std::string(9'000'000, 'x'));
    const std::string out = folder.Path("out.onnx");
    std::vector<uint64_t> done;
    const FileProgress giveUp = [&](uint64_t doneBytes, uint64_t totalBytes) {
        EXPECT_EQ(totalBytes, 9'000'000U);
        done.push_back(doneBytes);
        return done.size() < 3;
    };
    EXPECT_NE(Thrown(Reason::Cancelled, [&] { EncryptFile(large, out, {'k'}, false, giveUp); }).find(out),
              std::string::npos);
    EXPECT_EQ(done, (std::vector<uint64_t>{0, 4 << 20, 8 << 20}));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"large.onnx"});
    EXPECT_THROW(DecryptFile(large, out, {'k'}, [](uint64_t, uint64_t) -> bool { throw std::out_of_range(""); }),
                 std::out_of_range);
}

}  // namespace
}  // namespace orvane
