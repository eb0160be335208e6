#pragma once

#include "core/i_orvane.h"

#include <memory>
#include <new>

namespace Orvane::Testing {

// The calls that backends received, in order, and the status that they return.
struct FakeRecord {
    std::vector<std::string> calls;
    Status answer;
    bool outOfMemory = false;  // `Init` throws
};

// A backend without a model. A test may replace its tensors.
class FakeBackend final : public IOrvane {
 public:
    std::vector<TensorInfo> inputs = {{"a"}, {"twice"}, {"twice"}};
    std::vector<TensorInfo> outputs;
    const std::shared_ptr<FakeRecord> record;
    const std::string name;

    explicit FakeBackend(std::shared_ptr<FakeRecord> shared = std::make_shared<FakeRecord>(),
                         std::string ownName = "fake")
        : record(std::move(shared)), name(std::move(ownName)) {
        record->calls.push_back("create " + name);
    }
    ~FakeBackend() override { record->calls.push_back("destroy " + name); }

    Status Init(const InterpreterParams& params) override {
        if (record->outOfMemory) {
            throw std::bad_alloc();
        }
        return Answer("init " + name + " " + params.modelPath);
    }
    void Release() override { record->calls.push_back("release " + name); }
    int32_t GetTensorCount(TensorType type) override { return static_cast<int32_t>(Infos(type).size()); }
    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override {
        return index < Infos(type).size() ? Infos(type)[index] : TensorInfo();
    }
    Status SetInputData(uint32_t index, const void*, uint32_t size) override { return Answer("set", index, size); }
    Status Invoke() override { return Answer("invoke"); }
    Status CopyOutputTo(uint32_t index, void*, uint32_t size) override { return Answer("copy", index, size); }
    void* GetTensorData(TensorType type, uint32_t index) override { return &Infos(type).at(index); }
    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {{"kind", "fake"}}; }
    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override {
        Infos(type).at(index).shape = shape;
        return Answer("shape", type, index);
    }

 private:
    std::vector<TensorInfo>& Infos(TensorType type) { return type == TensorTypeInput ? inputs : outputs; }
    template <typename... Numbers>
    Status Answer(const std::string& call, Numbers... numbers) {
        record->calls.push_back(call);
        (record->calls.back().append(" ").append(std::to_string(numbers)), ...);
        return record->answer;
    }
};

}  // namespace Orvane::Testing
