#include <orvane/interpreter_params.h>

#include "core/backend_factory.h"
#include "core/error_status.h"
#include "platform/process.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace Orvane {

namespace {

constexpr size_t kLargestPort = 32'000'000;
constexpr size_t kMostPorts = 8;

// Gives a host program a model that costs nothing. The model path says what loading it does:
//   echo SIZE [OUTPUTS [INPUTS]]   u8 outputs "y0", "y1", ... of SIZE bytes, as many inputs "x0", ... unless said
//   fail TEXT                      a failure with that text
//   hang                           never ends
// and the model name what running it does before it copies each input to its output:
//   sleep MILLISECONDS, crash, throw; anything else nothing
class StubBackend final : public IOrvane {
 public:
    StubBackend() { ++living; }
    ~StubBackend() override { --living; }

    Status Init(const InterpreterParams& params) override {
        std::istringstream words(params.modelPath);
        std::string kind;
        size_t size = 0;
        size_t outputCount = 1;
        words >> kind >> size >> outputCount;
        size_t inputCount = outputCount;
        words >> inputCount;
        if (kind == "hang") {
            std::this_thread::sleep_for(std::chrono::hours(1));
        }
        if (kind != "echo" || size > kLargestPort || std::max(outputCount, inputCount) > kMostPorts) {
            return MakeErrorStatus(kind == "fail" ? params.modelPath.substr(kind.size()) : "no such model");
        }
        if (living != 1) {
            return MakeErrorStatus("the earlier model is still there");
        }
        modelName = params.modelName;
        for (const auto& [count, ports, letter] :
             {std::tuple(inputCount, &inputs, "x"), {outputCount, &outputs, "y"}}) {
            for (size_t i = 0; i < count; ++i) {
                ports->push_back({letter + std::to_string(i), {static_cast<int64_t>(size)}, std::vector<char>(size)});
            }
        }
        return {};
    }

    void Release() override {}
    int32_t GetTensorCount(TensorType type) override { return static_cast<int32_t>(Ports(type).size()); }

    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override {
        if (index >= Ports(type).size()) {
            return {};
        }
        const Port& port = Ports(type)[index];
        return {port.name, false, DataTypeUInt8, 1, port.shape};
    }

    Status SetInputData(uint32_t index, const void* data, uint32_t size) override {
        if (index >= inputs.size() || size > inputs[index].data.size()) {
            return MakeErrorStatus("refused");
        }
        std::memcpy(inputs[index].data.data(), data, size);
        return {};
    }

    Status Invoke() override {
        std::istringstream words(modelName);
        std::string kind;
        int milliseconds = 0;
        words >> kind >> milliseconds;
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        if (kind == "crash") {
            Platform::FailFast();
        }
        if (kind == "throw") {
            throw std::runtime_error("thrown by a model");
        }
        for (size_t i = 0; i < std::min(inputs.size(), outputs.size()); ++i) {
            outputs[i].data = inputs[i].data;
        }
        return {};
    }

    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override {
        if (index >= outputs.size() || size != outputs[index].data.size()) {
            return MakeErrorStatus("refused");
        }
        std::memcpy(data, outputs[index].data.data(), size);
        return {};
    }

    void* GetTensorData(TensorType, uint32_t) override { return nullptr; }
    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {{"kind", "stub"}}; }

    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override {
        if (index >= Ports(type).size()) {
            return MakeErrorStatus("refused");
        }
        Ports(type)[index].shape = shape;
        return {};
    }

 private:
    struct Port {
        std::string name;
        std::vector<int64_t> shape;
        std::vector<char> data;
    };

    std::vector<Port>& Ports(TensorType type) { return type == TensorTypeInput ? inputs : outputs; }

    inline static int living = 0;
    std::vector<Port> inputs;
    std::vector<Port> outputs;
    std::string modelName;
};

}  // namespace

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t /*framework*/) {
    return std::make_unique<StubBackend>();
}

}  // namespace Orvane
