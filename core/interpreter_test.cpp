#include <orvane/interpreter.h>

#include "core/backend_factory.h"
#include "core/interpreter_proxy_impl.h"
#include "testing/captured_log.h"
#include "testing/fake_backend.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Orvane {
namespace {

// What happened to this thread's backends, in order.
thread_local std::vector<std::string> history;
thread_local Status initAnswer;
thread_local bool initThrows = false;
thread_local bool enabled = true;

class RecordedBackend final : public Testing::FakeBackend {
 public:
    explicit RecordedBackend(std::string backendName) : name(std::move(backendName)) {
        history.push_back("create " + name);
        inputs = {{"a"}, {"twice"}, {"twice"}};
        outputs = {{"y"}};
    }
    ~RecordedBackend() override { history.push_back("destroy " + name); }
    RecordedBackend(const RecordedBackend&) = delete;
    RecordedBackend& operator=(const RecordedBackend&) = delete;

    Status Init(const InterpreterParams& params) override {
        history.push_back("init " + name + " " + params.modelPath);
        if (initThrows) {
            throw std::bad_alloc();
        }
        return initAnswer;
    }
    void Release() override { history.push_back("release " + name); }

 private:
    std::string name;
};

std::unique_ptr<IOrvane> Create(const std::string& name) {
    return enabled ? std::make_unique<RecordedBackend>(name) : nullptr;
}

InterpreterParams Params(uint32_t framework, const std::string& model = "m", const std::string& host = "") {
    InterpreterParams params;
    params.framework = framework;
    params.modelPath = model;
    params.host = host;
    return params;
}

class InterpreterTest : public testing::Test {
 protected:
    void SetUp() override {
        history.clear();
        initAnswer = {};
        initThrows = false;
        enabled = true;
    }

    Interpreter interpreter;
};

TEST_F(InterpreterTest, EveryFrameworkNumberGetsItsAnswer) {
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
        {0xFFFFFFFF, invalid + "\n"},
    };
    ASSERT_TRUE(interpreter.Init(Params(9)).Ok());
    history.clear();
    Testing::CapturedLog log;
    for (const auto& [framework, message] : refused) {
        const Status status = interpreter.Init(Params(framework));
        EXPECT_EQ(status.message, message);
        EXPECT_EQ(status.code, -1);
        EXPECT_EQ(interpreter.GetFramework(), framework);
        auto lines = log.Take();
        if (message == invalid + "\n") {
            ASSERT_EQ(lines.size(), 2U) << framework;
            EXPECT_EQ(lines.front().second, "[ORVANE]:" + invalid);
        }
        EXPECT_EQ(lines.back().second, "[ORVANE]:error=" + message + ", status=-1");
    }
    EXPECT_TRUE(interpreter) << "a refused framework leaves the model of before";
    EXPECT_TRUE(history.empty());

    for (const uint32_t framework : {5U, 9U}) {
        EXPECT_TRUE(interpreter.Init(Params(framework)).Ok());
    }
    enabled = false;
    EXPECT_EQ(interpreter.Init(Params(9)).message, "OpenVINO is not enabled\n");
    EXPECT_EQ(interpreter.Init(Params(9, "m", "host")).message, "Remote host is not enabled\n");
}

TEST_F(InterpreterTest, OneModelReplacesAnother) {
    const OptionHandle option = CreateOption();
    option->SetString(OptionCommonModelPath, "first");
    option->SetString(OptionCommonHost, "host");
    ASSERT_TRUE(interpreter.Init(*option).Ok()) << "a host is chosen whatever the framework, here 0";
    ASSERT_TRUE(interpreter.Init(Params(9, "second")).Ok());
    interpreter.Release();
    initAnswer = {"no model", 0};
    const Status status = interpreter.Init(Params(9, "third"));
    EXPECT_EQ(status.message, "no model");
    EXPECT_EQ(status.code, 0) << "the message alone decides";
    EXPECT_FALSE(interpreter);
    EXPECT_EQ(history,
              (std::vector<std::string>{"create remote", "init remote first", "create openvino", "destroy remote",
                                        "init openvino second", "release openvino", "create openvino",
                                        "destroy openvino", "init openvino third", "destroy openvino"}));
}

TEST_F(InterpreterTest, AnEmptyInterpreterAnswersWithoutABackend) {
    interpreter.Release();
    Status status = interpreter.Invoke();
    EXPECT_EQ(status.message, "Not Init success!");
    EXPECT_EQ(status.code, -1);
    EXPECT_EQ(interpreter.GetInputCount(), 0);
    EXPECT_EQ(interpreter.GetOutputCount(), 0);
    EXPECT_EQ(interpreter.GetInput(), nullptr);
    EXPECT_EQ(interpreter.GetOutput(), nullptr);
    EXPECT_EQ(interpreter.GetTensor(TensorTypeInput, 0), nullptr);
    EXPECT_EQ(interpreter.GetTensorByName(TensorTypeInput, "a"), nullptr);
    EXPECT_TRUE(interpreter.GetExtraInfo().empty());

    initThrows = true;
    EXPECT_THROW(status = interpreter.Init(Params(9)), std::bad_alloc);
    EXPECT_FALSE(interpreter) << "a backend that could not be initialised is not kept";

    const OptionHandle option = CreateOption();
    option->SetInt(OptionCommonFramework, FrameworkTypeOpenvino);
    option->SetString(OptionOpenvinoMakeEncryptedKey, "12345");
    EXPECT_EQ(interpreter.Init(*option).message, "OptionOpenvinoMakeEncryptedKey is longer than 4 bytes");
}

TEST_F(InterpreterTest, TensorsAreFoundByPlaceAndName) {
    ASSERT_TRUE(interpreter.Init(Params(9)).Ok());
    EXPECT_EQ(interpreter.GetInputCount(), 3);
    EXPECT_EQ(interpreter.GetOutputCount(), 1);
    EXPECT_EQ(interpreter.GetInput()->GetName(), "a");
    EXPECT_EQ(interpreter.GetOutput()->GetName(), "y");
    EXPECT_EQ(interpreter.GetTensor(TensorTypeInput, 2)->GetName(), "twice");
    EXPECT_EQ(interpreter.GetTensor(static_cast<TensorType>(2), 0), nullptr);
    EXPECT_EQ(interpreter.GetTensorByName(TensorTypeInput, "twic"), nullptr);
    EXPECT_EQ(interpreter.GetTensorByName(TensorTypeOutput, "a"), nullptr);
    EXPECT_EQ(interpreter.GetExtraInfo().at("kind"), "fake");
    EXPECT_TRUE(interpreter.Invoke().Ok());

    auto backend = std::make_unique<RecordedBackend>("empty");
    Testing::FakeBackend& view = *backend;
    InterpreterProxyImpl proxy(std::move(backend));
    EXPECT_TRUE(proxy.GetTensorByName(TensorTypeInput, "twice")->CopyFrom("", 1).Ok());
    EXPECT_EQ(view.calls.back(), "SetInputData 1 1") << "the lower place wins";
    EXPECT_TRUE(proxy.SetTensorShape(TensorTypeInput, 2, {8}).Ok());
    EXPECT_EQ(view.inputs[2].shape, (std::vector<int64_t>{8}));
    view.inputs.clear();
    view.outputs.clear();
    EXPECT_EQ(proxy.GetTensor(TensorTypeInput, 0), nullptr);
    EXPECT_EQ(proxy.GetOutput(), nullptr);
}

TEST_F(InterpreterTest, SeparateInterpretersRunOnSeparateThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 200; ++round) {
                Interpreter own;
                Status status = own.Init(Params(9));
                EXPECT_TRUE(status.Ok());
                Interpreter moved = std::move(own);
                status = moved.GetInput()->CopyFrom("", 1);
                EXPECT_TRUE(moved.Invoke().Ok() && status.Ok());
                EXPECT_FALSE(own.Invoke().Ok());  // NOLINT(bugprone-use-after-move): it is empty now
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

std::unique_ptr<IOrvane> CreateOpenvinoBackend() {
    return Create("openvino");
}
std::unique_ptr<IOrvane> CreateRemoteBackend() {
    return Create("remote");
}

}  // namespace Orvane
