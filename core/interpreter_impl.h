#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/status.h>
#include <orvane/tensor_impl.h>

#include <cstdint>
#include <string>
#include <unordered_map>

namespace Orvane {

// An initialised interpreter as `Interpreter` holds it. The order of the operations is fixed.
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

}  // namespace Orvane
