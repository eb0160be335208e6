// What an inference allocates on its way to a host, and in the host.
#include <orvane/interpreter.h>

#include "host/dispatcher.h"
#include "ipc/call_protocol.h"
#include "platform/process.h"
#include "testing/allocation_counter.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace Orvane {
namespace {

using Testing::AllocationsOfThisThread;
using Testing::CountAllocations;

using Data = std::array<uint8_t, 1000>;

InterpreterParams StubModel() {
    InterpreterParams params;
    params.framework = FrameworkTypeOpenvino;
    params.modelPath = "echo " + std::to_string(sizeof(Data));
    return params;
}

TEST(Allocation, AClientAllocatesNothing) {
    InterpreterParams params = StubModel();
    params.host = Platform::ProgramBeside("stub_host");
    Interpreter interpreter;
    ASSERT_EQ(interpreter.Init(params).message, "");
    const TensorHandle input = interpreter.GetInput();
    const TensorHandle output = interpreter.GetOutput();
    Data data{};
    bool ok = true;
    EXPECT_EQ(CountAllocations([&] { ok = ok && input->CopyFrom(data.data(), sizeof data).Ok(); }), 0U);
    EXPECT_EQ(CountAllocations([&] { ok = ok && interpreter.Invoke().Ok(); }), 0U);
    EXPECT_EQ(CountAllocations([&] { ok = ok && output->CopyTo(data.data(), sizeof data).Ok(); }), 0U);
    EXPECT_TRUE(ok);
}

// Makes the calls of so many inferences, and the last one.
void CallHost(SharedChannel& channel, size_t inferences) {
    const auto call = [&channel](Call number, auto... fields) {
        WriteRequest(channel.message, number, fields...);
        if (number == CallSetInputData) {
            const Data data{};
            channel.message.WriteBytes(data.data(), sizeof data);
        }
        channel.callEvent.Set();
        channel.resultEvent.Wait(60'000, Platform::Awaited::Result);
    };
    for (size_t i = 0; i < inferences; ++i) {
        call(CallSetInputData, 0U);
        call(CallInvoke);
        call(CallCopyOutputTo, 0U, static_cast<uint32_t>(sizeof(Data)));
    }
    call(CallExit);
}

TEST(Allocation, AHostMakesATensorForEachCallThatNamesOneAndNothingElse) {
    SharedChannel client;
    client.Create(4096);
    HostSession session;
    session.channel.Open(client.hostArguments);
    session.interpreter = std::make_unique<Interpreter>();
    ASSERT_EQ(session.interpreter->Init(StubModel()).message, "");

    constexpr size_t kInferences = 10;
    std::thread caller(CallHost, std::ref(client), kInferences);
    const size_t before = AllocationsOfThisThread();
    Serve(session);
    const size_t count = AllocationsOfThisThread() - before;
    caller.join();
    constexpr size_t kTensor = 2;  // itself and its shape; a short name takes no memory
    EXPECT_EQ(count, kInferences * 2 * kTensor);
}

}  // namespace
}  // namespace Orvane
