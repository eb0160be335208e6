#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/option_v2.h>
#include <orvane/status.h>
#include <orvane/tensor_impl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

class InterpreterImpl;

/// Drives one model. Empty until `Init` succeeds; an empty interpreter has no tensors and does not run.
/// An interpreter and its tensors are used from one thread at a time; separate interpreters are independent.
/// No operation throws for a failed inference; a failed allocation does throw.
class Interpreter {
 public:
    Interpreter();
    ~Interpreter();
    Interpreter(Interpreter&& other) noexcept;
    Interpreter& operator=(Interpreter&& other) noexcept;

    /// Loads and compiles the model that the options name. A failure leaves the interpreter empty, but one
    /// that refuses the options or the framework themselves leaves a model loaded earlier in place.
    /// Tensors of an earlier model are dead after a successful call.
    Status Init(const OptionV2& options);
    Status Init(const InterpreterParams& params);

    /// Frees what the backend can free while the interpreter stays: ends a host process, does nothing in this
    /// process. The next operation that is of use is `Init`.
    void Release();

    /// Runs the model once on the data last copied in. Fails before a successful `Init` and before data was
    /// copied into an input.
    Status Invoke();

    int32_t GetInputCount() const;
    int32_t GetOutputCount() const;

    /// The first input and the first output; empty when there is none.
    TensorHandle GetInput();
    TensorHandle GetOutput();

    /// The first tensor with exactly this name; empty when there is none.
    TensorHandle GetTensorByName(TensorType type, const std::string& name);

    /// Empty when the model has no tensor on that side. `index` must be below the count; nothing else checks it.
    TensorHandle GetTensor(TensorType type, uint32_t index);

    /// Texts that the backend tells about the model; OpenVINO tells none.
    std::unordered_map<std::string, std::string> GetExtraInfo();

    /// Number of the framework that the last `Init` asked for, whether it succeeded or not.
    uint32_t GetFramework() const { return framework; }

    /// True after a successful `Init`.
    explicit operator bool() const { return interpreter != nullptr; }

 private:
    std::unique_ptr<InterpreterImpl> interpreter;
    uint32_t framework = 0;
};

}  // namespace Orvane
