#pragma once

#include <orvane/host_end.h>
#include <orvane/interpreter_params.h>
#include <orvane/option_v2.h>
#include <orvane/status.h>
#include <orvane/tensor_impl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

namespace Orvane {

class HostControl;
class InterpreterImpl;

/// Drives one model. Empty until `Init` succeeds; an empty interpreter has no tensors and does not run.
///
/// A failed inference is a status and never an exception. What an operation may throw: `std::bad_alloc`; from a host
/// process that answers with what is no reply, a `std::runtime_error`; in this process, what the inference runtime
/// throws and is not its own class of exceptions. None of these leaves the interpreter unusable for another `Init`.
///
/// Threads: in this process an interpreter and its tensors are used from one thread at a time. With a host process any
/// number of threads may copy, run and ask at the same time, one after the other reaching the host; `Init`, `Release`
/// and destruction still want to be alone, but for the three operations that say "any thread". Separate interpreters
/// are independent.
///
/// After a fork the child has no host process: calls fail as with one that has ended, and `Init` starts one of its own.
class Interpreter {
 public:
    Interpreter();
    ~Interpreter();
    Interpreter(Interpreter&& other) noexcept;
    Interpreter& operator=(Interpreter&& other) noexcept;

    /// Loads and compiles the model that the options name. A failure leaves the interpreter empty, but one
    /// that refuses the options or the framework themselves leaves a model loaded earlier in place.
    /// Tensors of an earlier model are dead after every other call.
    Status Init(const OptionV2& options);
    Status Init(const InterpreterParams& params);

    /// Frees what the backend can free while the interpreter stays: ends a host process, does nothing in this
    /// process. The next operation that is of use is `Init`.
    void Release();

    /// Ends the host process, from any thread and while another one waits for it in any operation, `Init` included:
    /// that operation fails within 200 ms, with `FailureReasonHostEnded`, and `Init` starts a new host. Fails, and does
    /// nothing, where there is no host process: a model that runs in this process cannot be ended.
    Status Interrupt();

    /// How many milliseconds an operation, `Init` included, may wait for the host process. One that waits longer ends
    /// the host and fails like one whose host has ended. 0, the default, is no limit but that of some 55 hours. Holds
    /// for the operations that begin afterwards, also over later `Init`s. Any thread.
    void SetTimeLimit(uint32_t milliseconds);

    /// How the last host process ended that nobody released, also after a failed `Init`. Any thread.
    HostEnd GetHostEnd() const;

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

    /// True from a successful `Init` to the next one that fails, so also after `Release` and after the death of a host
    /// process, when every operation fails until `Init`.
    explicit operator bool() const { return interpreter != nullptr; }

 private:
    struct Shared;  // what any thread may ask for

    void ShareHost(std::shared_ptr<HostControl> host);
    std::shared_ptr<HostControl> SharedHost() const;

    std::unique_ptr<Shared> shared;
    std::unique_ptr<InterpreterImpl> interpreter;
    uint32_t framework = 0;
};

}  // namespace Orvane
