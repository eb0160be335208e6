#include "core/tensor_proxy_impl.h"

#include "core/errors.h"

namespace Orvane {

namespace {

constexpr const char* kNoInput = "Tensor Type is not TensorTypeInput!";

}  // namespace

TensorProxyImpl::TensorProxyImpl(IOrvane& backendOfTensor, uint32_t tensorIndex, TensorType tensorType)
    : backend(backendOfTensor),
      index(tensorIndex),
      type(tensorType),
      info(backendOfTensor.GetTensorInfo(tensorType, tensorIndex)) {}

uint64_t TensorProxyImpl::GetByteSize() const {
    // Unsigned, because the product may wrap around. It has the same bits as the signed product.
    uint64_t size = DataTypeSize(info.dataType);
    for (const int64_t dimension : info.shape) {
        size *= static_cast<uint64_t>(dimension);
    }
    return size;
}

Status TensorProxyImpl::Resize(const std::vector<int64_t>& shape) {
    return backend.SetTensorShape(type, index, shape);
}

Status TensorProxyImpl::Bind(const TensorImpl& other) {
    const auto* proxy = dynamic_cast<const TensorProxyImpl*>(&other);
    if (proxy == nullptr) {
        return MakeErrorStatus("Tensor type is not equal!");
    }
    return backend.BindTensor(index, type, proxy->index, proxy->type);
}

// The two checks below deliberately differ: a type that is neither input nor output fails both.
Status TensorProxyImpl::CopyFrom(const void* data, uint32_t size) {
    if (type != TensorTypeInput) {
        return MakeErrorStatus(kNoInput);
    }
    return backend.SetInputData(index, data, size);
}

Status TensorProxyImpl::CopyTo(void* destination, uint32_t size) {
    if (type != TensorTypeOutput) {
        return MakeErrorStatus("Tensor Type is not TensorTypeOutput!");
    }
    return backend.CopyOutputTo(index, destination, size);
}

void* TensorProxyImpl::GetData() {
    return backend.GetTensorData(type, index);
}

Status TensorImpl::GetMemory(uint32_t /*size*/, std::shared_ptr<void>& /*memory*/) {
    return MakeErrorStatus(kNotSupported);
}

Status TensorProxyImpl::GetMemory(uint32_t size, std::shared_ptr<void>& memory) {
    if (type != TensorTypeInput) {
        return MakeErrorStatus(kNoInput);
    }
    return backend.GetInputMemory(index, size, memory);
}

}  // namespace Orvane
