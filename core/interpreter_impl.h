#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/status.h>
#include <orvane/tensor_impl.h>

#include "core/i_orvane.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

namespace Orvane {

// The implementation of an `Interpreter` after its `Init`. Do not change the order of the functions.
class InterpreterImpl {
 public:
    virtual ~InterpreterImpl() = default;
    virtual Status Init(const InterpreterParams& params) = 0;
    virtual void Release() = 0;
    virtual Status Invoke() = 0;
    virtual int32_t GetInputCount() = 0;
    virtual int32_t GetOutputCount() = 0;
    virtual TensorHandle GetInput() = 0;
    virtual TensorHandle GetOutput() = 0;
    virtual TensorHandle GetTensorByName(TensorType type, const std::string& name) = 0;
    virtual TensorHandle GetTensor(TensorType type, uint32_t index) = 0;
    virtual std::unordered_map<std::string, std::string> GetExtraInfo() = 0;
};

// Passes each operation to a backend, which it owns.
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
