#pragma once

#include "core/errors.h"
#include "core/i_orvane.h"
#include "platform/copy_data.h"

#include <memory>
#include <string>
#include <vector>

namespace Orvane::Testing {

// Base of backends whose tensors are plain memory. `Init` of the derived class adds the ports. Data that does not fit a
// port is refused.
class MemoryBackend : public IOrvane {
 public:
    void Release() override {}
    int32_t GetTensorCount(TensorType type) override { return static_cast<int32_t>(Ports(type).size()); }
    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override {
        return index < Ports(type).size() ? Ports(type)[index].info : TensorInfo();
    }
    Status SetInputData(uint32_t index, const void* data, uint32_t size) override {
        if (index >= inputs.size() || size > inputs[index].size) {
            return MakeErrorStatus("refused");
        }
        Platform::CopyData(inputs[index].memory->data(), data, size);
        return {};
    }
    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override {
        if (index >= outputs.size() || size != outputs[index].size) {
            return MakeErrorStatus("refused");
        }
        Platform::CopyData(data, outputs[index].memory->data(), size);
        return {};
    }
    void* GetTensorData(TensorType, uint32_t) override { return nullptr; }
    Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) override {
        if (index >= Ports(type).size()) {
            return MakeErrorStatus("refused");
        }
        Ports(type)[index].info.shape = shape;
        return {};
    }

 protected:
    struct Port {
        TensorInfo info;
        size_t size;  // of the data, in bytes; the memory may be larger
        std::shared_ptr<std::string> memory;
    };

    std::vector<Port>& Ports(TensorType type) { return type == TensorTypeInput ? inputs : outputs; }

    void AddPort(TensorType type, const std::string& name, size_t size, std::shared_ptr<std::string> memory) {
        const TensorInfo info = {name, false, DataTypeUInt8, 1, {static_cast<int64_t>(size)}};
        Ports(type).push_back({info, size, std::move(memory)});
    }

    std::vector<Port> inputs;
    std::vector<Port> outputs;
};

}  // namespace Orvane::Testing
