#pragma once

#include <orvane/interpreter.h>

#include "core/call_watch.h"
#include "core/i_orvane.h"
#include "platform/process.h"
#include "testing/support/processes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

// Shared by tests of processes: they send data through a host of stub models and compare outcomes as text.
namespace Orvane::Testing {

inline const std::string kStubHost = Platform::ProgramBeside("stub_host");

// The largest input that fits into a channel together with its request.
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
inline const std::string kHostCallError = "-1 host call  error";

// Sends bytes through input and output `index`. Returns the status of the first step that fails, or "torn" if the
// output has other bytes.
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

// Makes `rounds` round trips, but stops at the first failure. Returns that failure, or kOk.
inline std::string RoundTrips(Interpreter& interpreter, uint32_t index, size_t rounds) {
    std::string outcome = kOk;
    for (size_t round = 0; round < rounds && outcome == kOk; ++round) {
        outcome = RoundTrip(interpreter, index, 4096, round * 7 + size_t{index} * 64);
    }
    return outcome;
}

// Starts a call in another thread. Returns when the call waits for its host process.
inline std::future<std::string> StartCall(const std::function<std::string()>& call) {
    const auto waits = std::make_shared<std::atomic<bool>>(false);
    std::future<std::string> outcome = std::async(std::launch::async, [waits, call] {
        const auto progress = [](void* flag, int32_t step) {
            *static_cast<std::atomic<bool>*>(flag) = step != static_cast<int32_t>(LoadStep::StartingHost);
            return 0;
        };
        const CallWatch watch(0, progress, waits.get());
        return call();
    });
    EXPECT_TRUE(Within(kPatience, [&waits] { return waits->load(); }));
    return outcome;
}

// Base of tests that start hosts of stub models. A test has a time limit and must leave no process and no name.
class HostFixture : public testing::Test {
 protected:
    void TearDown() override {
        interpreter.reset();
        remote.reset();
        EXPECT_EQ(LeftBehind(), "");
    }

    std::string Init(const InterpreterParams& params) { return Shown(interpreter->Init(params)); }

    // Ends the earlier host, waits until it is gone, and starts a new host.
    Process StartHost(const std::string& path = "echo 4", const std::string& name = "") {
        interpreter->Release();
        EXPECT_TRUE(Within(kPatience, [] { return Children().empty(); }));
        EXPECT_EQ(Init(Params(path, name)), kOk);
        return Process(Children().at(0));
    }

    std::unique_ptr<Interpreter> interpreter = std::make_unique<Interpreter>();
    std::unique_ptr<IOrvane> remote = CreateRemoteBackend();

 private:
    Watchdog watchdog;
};

}  // namespace Orvane::Testing
