#pragma once

#include <orvane/interpreter.h>

#include "core/backend_factory.h"
#include "platform/process.h"
#include "testing/support/processes.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

// What tests on processes send through a host of stub models, and how they write down what comes of it.
namespace Orvane::Testing {

inline const std::string kStubHost = Platform::ProgramBeside("stub_host");

// The largest input that fits into a channel with its request.
constexpr size_t kLargestInput = 22'021'120 - 24;

inline InterpreterParams Params(const std::string& path, const std::string& name = "",
                                const std::string& host = kStubHost) {
    InterpreterParams params;
    params.framework = FrameworkTypeOpenvino;
    params.host = host;
    params.modelPath = path;
    params.modelName = name;
    return params;
}

inline std::string Shown(const Status& status) {
    return std::to_string(status.code) + " " + status.message;
}

inline const std::string kOk = "0 ";
inline const std::string kHostExit = "-1 Orvane Host Exit";

// Sends bytes through input and output `index`: the status of the first step that fails, or "torn" for other bytes.
inline std::string RoundTrip(Interpreter& interpreter, uint32_t index, size_t size, size_t seed) {
    const TensorHandle input = interpreter.GetTensor(TensorTypeInput, index);
    const TensorHandle output = interpreter.GetTensor(TensorTypeOutput, index);
    if (input == nullptr || output == nullptr) {
        return kHostExit;
    }
    std::vector<uint8_t> sent(size);
    for (size_t i = 0; i < size; ++i) {
        sent[i] = static_cast<uint8_t>(i % 251 + seed);
    }
    std::vector<uint8_t> received(size);
    const auto count = static_cast<uint32_t>(size);
    Status status = input->CopyFrom(sent.data(), count);
    status = status.Ok() ? interpreter.Invoke() : status;
    status = status.Ok() ? output->CopyTo(received.data(), count) : status;
    return !status.Ok() ? Shown(status) : sent == received ? kOk : "torn";
}

// What `rounds` round trips come to, or those until the first failure.
inline std::string RoundTrips(Interpreter& interpreter, uint32_t index, size_t rounds) {
    std::string outcome = kOk;
    for (size_t round = 0; round < rounds && outcome == kOk; ++round) {
        outcome = RoundTrip(interpreter, index, 4096, round * 7 + size_t{index} * 64);
    }
    return outcome;
}

// Of tests that start hosts of stub models: such a test ends, and leaves nothing.
class HostFixture : public testing::Test {
 protected:
    void TearDown() override {
        interpreter.reset();
        remote.reset();
        EXPECT_EQ(LeftBehind(), "");
    }

    std::string Init(const InterpreterParams& params) { return Shown(interpreter->Init(params)); }

    // Starts a host. An earlier one, which may take its time to go, is gone by then.
    Process StartHost(const std::string& path = "echo 4", const std::string& name = "") {
        interpreter->Release();
        EXPECT_TRUE(Within(std::chrono::seconds(10), [] { return Children().empty(); }));
        EXPECT_EQ(Init(Params(path, name)), kOk);
        return Process(Children().at(0));
    }

    std::unique_ptr<Interpreter> interpreter = std::make_unique<Interpreter>();
    std::unique_ptr<IOrvane> remote = CreateRemoteBackend();

 private:
    Watchdog watchdog;
};

}  // namespace Orvane::Testing
