// What an inference in this process allocates: what the runtime does, and nothing of the SDK's own.
#include <orvane/interpreter.h>

#include "testing/allocation_counter.h"
#include "testing/tiny_models.h"

#include <gtest/gtest.h>
#include <openvino/openvino.hpp>

namespace Orvane {
namespace {

using Testing::CountAllocations;

TEST(RuntimeAllocation, AnInferenceAllocatesNoMoreThanTheRuntimeDoes) {
    const Testing::TemporaryFolder folder;
    InterpreterParams params;
    params.framework = FrameworkTypeOpenvino;
    params.modelPath = Testing::AddModel({10, 20}).WriteTo(folder, "add");

    ov::Core core("");
    ov::InferRequest request =
        core.compile_model(core.read_model(std::filesystem::path(params.modelPath), std::filesystem::path()), "CPU",
                           ov::AnyMap{})
            .create_infer_request();
    const size_t byInfer = CountAllocations([&] { request.infer(); });
    const size_t byOutput = CountAllocations([&] { (void)request.get_output_tensor(0); });

    Interpreter interpreter;
    ASSERT_EQ(interpreter.Init(params).message, "");
    const TensorHandle input = interpreter.GetInput();
    const TensorHandle output = interpreter.GetOutput();
    float data[2] = {};
    bool ok = true;
    EXPECT_EQ(CountAllocations([&] { ok = ok && input->CopyFrom(data, sizeof data).Ok(); }), 0U);
    EXPECT_EQ(CountAllocations([&] { ok = ok && interpreter.Invoke().Ok(); }), byInfer);
    EXPECT_EQ(CountAllocations([&] { ok = ok && output->CopyTo(data, sizeof data).Ok(); }), byOutput);
    EXPECT_TRUE(ok);
}

}  // namespace
}  // namespace Orvane
