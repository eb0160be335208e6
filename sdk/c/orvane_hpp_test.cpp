// The C++ header over the library that runs models in a host process only, whose host has stub models.
#include <orvane/orvane.hpp>

#include "testing/support/host_fixture.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <span>
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

    Model other = std::move(model);
    EXPECT_EQ(other.Get<uint8_t>(0), backwards);
    model = std::move(other);
    const Tensor& output = model.Output("y0");
    EXPECT_EQ(output.Label() + " " + NameOf(output.type), "output 0 \"y0\" uint8");
    EXPECT_EQ(output.shape, std::vector<int64_t>{4});
    EXPECT_EQ(output.byteSize, 4U);
}

TEST(OrvaneHpp, RefusesWhatDoesNotFit) {
    Model model(StubOptions("echo 4"));
    const auto bad = Reason::BadArgument;
    EXPECT_EQ(Thrown(bad, [&] { model.Set(0, std::vector<float>{1}); }),
              "input 0 \"x0\" has elements of type uint8: give a container of that type");
    EXPECT_EQ(Thrown(bad, [&] { model.Set(-1, Bytes(4)); }), "the model has no input 4294967295: it has 1");
    EXPECT_EQ(Thrown(bad, [&] { model.Get<uint8_t>("y"); }), "the model has no output \"y\": it has 1");
    EXPECT_NE(Thrown(Reason::Refused, [&] { model.Resize(0, {4}); }), "");
    Options options;
    options.hostProgram = "no_such_host";
    EXPECT_NE(Thrown(
                  Reason::System, [&] { Model{options}; }, 2),
              "");
}

TEST(OrvaneHpp, AHostThatHasEndedIsAnExceptionOfItsOwnAndIsStartedAgain) {
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
        EXPECT_THROW(model.Set(0, sent), HostEnded);
        model.Restart();
    }
}

}  // namespace
}  // namespace orvane
