#pragma once

#include <orvane/tensor_impl.h>

#include "core/i_orvane.h"

namespace Orvane {

// A tensor of a backend. The backend must outlive it.
class TensorProxyImpl final : public TensorImpl {
 public:
    // Asks the backend for the description.
    TensorProxyImpl(IOrvane& backend, uint32_t index, TensorType type);

    std::string GetName() const override { return info.name; }
    TensorType GetTensorType() const override { return type; }
    DataType GetDataType() const override { return info.dataType; }
    uint32_t GetFormat() const override { return info.format; }
    bool GetFlag() const override { return info.flag; }
    std::vector<int64_t> GetShape() const override { return info.shape; }
    uint64_t GetByteSize() const override;
    Status Resize(const std::vector<int64_t>& shape) override;
    Status Bind(const TensorImpl& other) override;
    Status CopyFrom(const void* data, uint32_t size) override;
    Status CopyTo(void* destination, uint32_t size) override;
    void* GetData() override;
    Status GetMemory(uint32_t size, std::shared_ptr<void>& memory) override;

 private:
    IOrvane& backend;
    uint32_t index;
    TensorType type;
    TensorInfo info;
};

}  // namespace Orvane
