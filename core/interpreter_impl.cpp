#include "core/interpreter_impl.h"

#include "core/tensor_proxy_impl.h"

#include <utility>

namespace Orvane {

InterpreterProxyImpl::InterpreterProxyImpl(std::unique_ptr<IOrvane> ownedBackend) : backend(std::move(ownedBackend)) {}

Status InterpreterProxyImpl::Init(const InterpreterParams& params) {
    return backend->Init(params);
}

void InterpreterProxyImpl::Release() {
    backend->Release();
}

Status InterpreterProxyImpl::Invoke() {
    return backend->Invoke();
}

int32_t InterpreterProxyImpl::GetInputCount() {
    return backend->GetTensorCount(TensorTypeInput);
}

int32_t InterpreterProxyImpl::GetOutputCount() {
    return backend->GetTensorCount(TensorTypeOutput);
}

TensorHandle InterpreterProxyImpl::GetInput() {
    return GetTensor(TensorTypeInput, 0);
}

TensorHandle InterpreterProxyImpl::GetOutput() {
    return GetTensor(TensorTypeOutput, 0);
}

TensorHandle InterpreterProxyImpl::GetTensorByName(TensorType type, const std::string& name) {
    for (int32_t i = 0; i < backend->GetTensorCount(type); ++i) {
        const auto index = static_cast<uint32_t>(i);
        if (backend->GetTensorInfo(type, index).name == name) {
            return std::make_unique<TensorProxyImpl>(*backend, index, type);
        }
    }
    return nullptr;
}

TensorHandle InterpreterProxyImpl::GetTensor(TensorType type, uint32_t index) {
    // Deliberately does not compare the index with the count: the backend decides whether the tensor exists.
    const bool empty = type == TensorTypeInput    ? GetInputCount() == 0
                       : type == TensorTypeOutput ? GetOutputCount() == 0
                                                  : true;
    return empty ? nullptr : std::make_unique<TensorProxyImpl>(*backend, index, type);
}

std::unordered_map<std::string, std::string> InterpreterProxyImpl::GetExtraInfo() {
    return backend->GetExtraInfo();
}

}  // namespace Orvane
