#include <orvane/interpreter_params.h>

#include "bench/workload.h"
#include "core/backend_factory.h"
#include "core/error_status.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <thread>

namespace Orvane {

namespace {

// Gives a host program a model that costs nothing, so that only the way to it is timed: the workload's stub.
// The model name may be a number of milliseconds that a run takes, asleep.
class StubBackend final : public IOrvane {
 public:
    Status Init(const InterpreterParams& params) override {
        try {
            const Bench::Workload workload = Bench::ParseWorkload(params.modelPath);
            memory.resize(workload.StubBytes());
            inputSize = workload.InputBytes();
            outputSize = workload.OutputBytes();
            sleep = std::chrono::milliseconds(params.modelName.empty() ? 0 : std::stoi(params.modelName));
            return {};
        } catch (const std::exception& error) {
            return MakeErrorStatus(error.what());
        }
    }

    void Release() override {}
    int32_t GetTensorCount(TensorType) override { return 1; }

    TensorInfo GetTensorInfo(TensorType type, uint32_t) override {
        const auto size = int64_t{type == TensorTypeInput ? inputSize : outputSize};
        return {"x", false, DataTypeUInt8, 1, {size}};
    }

    Status SetInputData(uint32_t, const void* data, uint32_t size) override {
        if (size > inputSize) {
            return MakeErrorStatus("the input has not so many bytes");
        }
        std::memcpy(memory.data(), data, size);
        return {};
    }

    Status Invoke() override {
        if (sleep.count() > 0) {
            std::this_thread::sleep_for(sleep);
        }
        return {};
    }

    Status CopyOutputTo(uint32_t, void* data, uint32_t size) override {
        if (size != outputSize) {
            return MakeErrorStatus("the output has another number of bytes");
        }
        std::memcpy(data, memory.data(), size);
        return {};
    }

    void* GetTensorData(TensorType type, uint32_t) override {
        return type == TensorTypeOutput ? memory.data() : nullptr;
    }
    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {}; }
    Status SetTensorShape(TensorType, uint32_t, const std::vector<int64_t>&) override { return {}; }

 private:
    std::vector<uint8_t> memory;
    uint32_t inputSize = 0;
    uint32_t outputSize = 0;
    std::chrono::milliseconds sleep{0};
};

}  // namespace

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t /*framework*/) {
    return std::make_unique<StubBackend>();
}

}  // namespace Orvane
