#pragma once

#include "core/i_orvane.h"
#include "core/interpreter_impl.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace Orvane {

// The interpreter over a backend that it owns.
class InterpreterProxyImpl final : public InterpreterImpl {
 public:
    explicit InterpreterProxyImpl(std::unique_ptr<IOrvane> ownedBackend);

    Status Init(const InterpreterParams& params) override;
    void Release() override;
    Status Invoke() override;
    int32_t GetInputCount() override;
    int32_t GetOutputCount() override;
    TensorHandle GetInput() override;
    TensorHandle GetOutput() override;
    TensorHandle GetTensorByName(TensorType type, const std::string& name) override;
    TensorHandle GetTensor(TensorType type, uint32_t index) override;
    std::unordered_map<std::string, std::string> GetExtraInfo() override;

 private:
    std::unique_ptr<IOrvane> backend;
};

}  // namespace Orvane
