#pragma once

#include "core/i_orvane.h"

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Orvane::Testing {

// A backend that describes the tensors it was given, answers every operation that can fail with `answer` and
// records what it was asked.
class FakeBackend : public IOrvane {
 public:
    std::vector<TensorInfo> inputs;
    std::vector<TensorInfo> outputs;
    Status answer;
    std::vector<std::string> calls;
    char data[16] = {};

    Status Init(const InterpreterParams& params) override {
        calls.push_back("Init " + params.modelPath);
        return answer;
    }
    void Release() override { calls.emplace_back("Release"); }
    int32_t GetTensorCount(TensorType type) override { return static_cast<int32_t>(Infos(type).size()); }
    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override {
        return index < Infos(type).size() ? Infos(type)[index] : TensorInfo();
    }
    Status SetInputData(uint32_t index, const void*, uint32_t size) override {
        calls.push_back("SetInputData " + std::to_string(index) + " " + std::to_string(size));
        return answer;
    }
    Status Invoke() override {
        calls.emplace_back("Invoke");
        return answer;
    }
    Status CopyOutputTo(uint32_t index, void*, uint32_t size) override {
        calls.push_back("CopyOutputTo " + std::to_string(index) + " " + std::to_string(size));
        return answer;
    }
    void* GetTensorData(TensorType type, uint32_t index) override {
        calls.push_back("GetTensorData " + std::to_string(type) + " " + std::to_string(index));
        return data;
    }
    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {{"kind", "fake"}}; }
    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override {
        std::string call = "SetTensorShape " + std::to_string(type) + " " + std::to_string(index) + " [";
        for (const int64_t dimension : shape) {
            call += std::to_string(dimension);
        }
        calls.push_back(call + "]");
        Infos(type)[index].shape = shape;
        return answer;
    }

 private:
    std::vector<TensorInfo>& Infos(TensorType type) { return type == TensorTypeInput ? inputs : outputs; }
};

}  // namespace Orvane::Testing
