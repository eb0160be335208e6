#include <orvane/interpreter.h>

#include "core/i_orvane.h"
#include "testing/support/captured_log.h"
#include "testing/support/fake_backend.h"

#include <gtest/gtest.h>

namespace Orvane {
namespace {

using Calls = std::vector<std::string>;

const auto record = std::make_shared<Testing::FakeRecord>();
bool openvinoEnabled = true;

InterpreterParams Params(uint32_t framework, const std::string& model = "m") {
    InterpreterParams params;
    params.framework = framework;
    params.modelPath = model;
    return params;
}

class InterpreterTest : public testing::Test {
 protected:
    InterpreterTest() { *record = {}; }

    Interpreter interpreter;
};

TEST_F(InterpreterTest, RefusesUnavailableFrameworks) {
    EXPECT_TRUE(interpreter.Init(Params(5)).Ok());
    EXPECT_TRUE(interpreter.Init(Params(9)).Ok());
    record->calls.clear();
    const std::string invalid = "Orvane::Interpreter::init FrameworkType is invalid";
    const std::vector<std::pair<uint32_t, std::string>> refused = {
        {0, "Orvane::Interpreter::init kTflite is invalid with no choose it \n"},
        {1, "Orvane::Interpreter::init kOnnxRuntimen is invalid with no choose it \n"},
        {2, "Orvane::Interpreter::init kMnn is invalid with no choose it \n"},
        {3, invalid + "\n"},
        {4, "CoreML is not enabled\n"},
        {6, "TorchLite is not enabled\n"},
        {7, "FrameworkType is invalid\n"},
        {8, "QNN is not enabled\n"},
        {10, invalid + "\n"},
        {0xFFFFFFFF, invalid + "\n"}};
    for (const auto& [framework, message] : refused) {
        Testing::CapturedLog log;
        EXPECT_EQ(interpreter.Init(Params(framework)).message, message);
        EXPECT_EQ(interpreter.GetFramework(), framework);
        const std::string error = "[ORVANE]:error=" + message + ", status=-1";
        EXPECT_EQ(log.Take().at(0).second, message == invalid + "\n" ? "[ORVANE]:" + invalid : error);
    }
    openvinoEnabled = false;
    for (const uint32_t framework : {5U, 9U}) {
        EXPECT_EQ(interpreter.Init(Params(framework)).message, "OpenVINO is not enabled\n");
    }
    openvinoEnabled = true;
    EXPECT_TRUE(interpreter) << "a refused framework keeps the earlier model";
    EXPECT_EQ(record->calls, Calls{});
}

TEST_F(InterpreterTest, NewModelReplacesTheOldOne) {
    const OptionHandle option = CreateOption();
    option->SetString(OptionCommonModelPath, "first");
    option->SetString(OptionCommonHost, "host");
    ASSERT_TRUE(interpreter.Init(*option).Ok()) << "with a host, the framework may be 0";
    ASSERT_TRUE(interpreter.Init(Params(5, "second")).Ok());
    option->SetInt(OptionCommonFramework, 9);
    option->SetString(OptionOpenvinoMakeEncryptedKey, "abcde");
    EXPECT_FALSE(interpreter.Init(*option).Ok());
    EXPECT_EQ(interpreter.GetFramework(), 9U);
    EXPECT_TRUE(interpreter) << "options that are refused before a load keep the earlier model";
    interpreter.Release();
    record->answer = {"no model", 0};
    EXPECT_EQ(interpreter.Init(Params(9, "third")).message, "no model")
        << "a message makes it a failure, even with the code 0";
    EXPECT_FALSE(interpreter);
    EXPECT_EQ(record->calls, (Calls{"create remote", "init remote first", "create openvino", "destroy remote",
                                    "init openvino second", "release openvino", "create openvino", "destroy openvino",
                                    "init openvino third", "destroy openvino"}));
}

TEST_F(InterpreterTest, EmptyInterpreterReturnsErrors) {
    record->outOfMemory = true;
    EXPECT_THROW(static_cast<void>(interpreter.Init(Params(9))), std::bad_alloc);
    EXPECT_FALSE(interpreter) << "does not keep a backend whose load failed";
    interpreter.Release();
    EXPECT_EQ(interpreter.Invoke().message, "Not Init success!");
    EXPECT_EQ(interpreter.GetInputCount() + interpreter.GetOutputCount(), 0);
    EXPECT_EQ(interpreter.GetInput(), nullptr);
    EXPECT_EQ(interpreter.GetOutput(), nullptr);
    EXPECT_EQ(interpreter.GetTensor(TensorTypeInput, 0), nullptr);
    EXPECT_EQ(interpreter.GetTensorByName(TensorTypeInput, "a"), nullptr);
    EXPECT_TRUE(interpreter.GetExtraInfo().empty());
}

TEST_F(InterpreterTest, FindsTensorsByIndexAndName) {
    ASSERT_TRUE(interpreter.Init(Params(9)).Ok());
    EXPECT_EQ(interpreter.GetInputCount(), 3);
    EXPECT_EQ(interpreter.GetOutputCount(), 0);
    EXPECT_EQ(interpreter.GetInput()->GetName(), "a");
    EXPECT_EQ(interpreter.GetOutput(), nullptr) << "a model without outputs";
    EXPECT_EQ(interpreter.GetTensor(TensorTypeInput, 2)->GetName(), "twice");
    EXPECT_EQ(interpreter.GetTensor(static_cast<TensorType>(2), 0), nullptr);
    EXPECT_NE(interpreter.GetTensor(TensorTypeInput, 3), nullptr) << "the backend decides whether a tensor exists";
    EXPECT_TRUE(interpreter.GetTensorByName(TensorTypeInput, "twice")->CopyFrom("", 1).Ok());
    EXPECT_EQ(record->calls.back(), "set 1 1") << "the lower index wins";
    EXPECT_EQ(interpreter.GetTensorByName(TensorTypeInput, "twic"), nullptr);
    EXPECT_EQ(interpreter.GetTensorByName(TensorTypeOutput, "a"), nullptr);
    EXPECT_EQ(interpreter.GetExtraInfo().at("kind"), "fake");
    Interpreter moved = std::move(interpreter);
    EXPECT_TRUE(moved.Invoke().Ok());
    EXPECT_FALSE(interpreter.Invoke().Ok());  // NOLINT(bugprone-use-after-move): it is empty now
}

}  // namespace

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t framework) {
    return openvinoEnabled && (framework == 5 || framework == 9)
               ? std::make_unique<Testing::FakeBackend>(record, "openvino")
               : nullptr;
}
std::unique_ptr<IOrvane> CreateRemoteBackend() {
    return std::make_unique<Testing::FakeBackend>(record, "remote");
}

}  // namespace Orvane
