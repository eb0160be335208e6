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

/// Loads and runs one model. Empty until `Init` succeeds; an empty interpreter has no tensors and does not run.
///
/// A failed inference returns a failed status and does not throw. An operation can throw:
/// - `std::bad_alloc`;
/// - `std::runtime_error`, if a host process sends a wrong reply;
/// - in this process, an exception from the inference runtime that is not an `ov::Exception`.
/// After each of these you can call `Init` again.
///
/// Threads: in this process, use an interpreter and its tensors from one thread at a time. With a host process, several
/// threads may call functions of both; the calls run one after the other. `Init`, `Release` and destruction must not
/// run at the same time as other operations. Only `Interrupt`, `SetTimeLimit` and `GetHostEnd` may run at any time
/// except during destruction, and on any thread. Different interpreters are independent.
///
/// After a fork the child has no host process. Its calls fail as if the host process had ended, and `Init` starts a new
/// one for the child.
class Interpreter {
 public:
    /// Creates an empty interpreter.
    Interpreter();

    /// Ends the host process, or frees the model in this process.
    ~Interpreter();

    /// Takes the model of `other`, which is empty afterwards. The tensors of that model stay valid.
    Interpreter(Interpreter&& other) noexcept;

    /// Frees the earlier model, and takes the model of `other`, which is empty afterwards. The tensors of the taken
    /// model stay valid.
    Interpreter& operator=(Interpreter&& other) noexcept;

    /// Loads and compiles the model of the options, which you can destroy afterwards. If `Init` refuses the options or
    /// the framework, an earlier model stays loaded. After any other failure the interpreter is empty. Tensors of an
    /// earlier model are invalid afterwards, unless that model stays loaded.
    Status Init(const OptionV2& options);

    /// Does the same with the options as plain values. Copies them.
    Status Init(const InterpreterParams& params);

    /// Ends the host process. All operations then fail until `Init`. Does nothing for a model in this process.
    void Release();

    /// Ends the host process. Thread-safe: call it while another thread waits for the host process in `Init` or any
    /// other operation. That operation fails within 200 ms with `FailureReasonHostEnded`. `Init` starts a new host
    /// process. Fails and does nothing before the first `Init`, and for a model in this process, which cannot be ended.
    Status Interrupt();

    /// Sets how many milliseconds an operation, `Init` included, may wait for the host process. An operation that waits
    /// longer ends the host process and fails with `FailureReasonHostEnded`. 0, the default, is a limit of about 55
    /// hours. Applies to operations that begin afterwards, also after a later `Init`. Thread-safe.
    void SetTimeLimit(uint32_t milliseconds);

    /// Returns how the last host process ended, also after a failed `Init`. If `Release` ended it, the cause is
    /// `HostEndCauseNone`. In a forked child the cause is `HostEndCauseUnknown` until the child calls
    /// `Init`. Thread-safe.
    HostEnd GetHostEnd() const;

    /// Runs the model once on the latest data of each input. Fails before a successful `Init`, and before the first
    /// `CopyFrom`.
    Status Invoke();

    /// Returns the number of inputs; 0 if the interpreter is empty or the host process has ended.
    int32_t GetInputCount() const;

    /// Returns the number of outputs; 0 if the interpreter is empty or the host process has ended.
    int32_t GetOutputCount() const;

    /// Returns the first input; empty if the model has no input.
    TensorHandle GetInput();

    /// Returns the first output; empty if the model has no output.
    TensorHandle GetOutput();

    /// Returns the first tensor with exactly this name on this side; empty if there is no such tensor.
    TensorHandle GetTensorByName(TensorType type, const std::string& name);

    /// Returns the tensor with this index; empty if the model has no tensor on that side. `index` must be below the
    /// count; the SDK does not check it.
    TensorHandle GetTensor(TensorType type, uint32_t index);

    /// Returns texts of the backend about the model. OpenVINO does not provide any.
    std::unordered_map<std::string, std::string> GetExtraInfo();

    /// Returns the framework number of the last `Init`, also if that `Init` failed.
    uint32_t GetFramework() const { return framework; }

    /// True while the interpreter has a model. A failed `Init` that leaves the interpreter empty makes it false. It
    /// stays true after `Release` and after the end of a host process, although all operations then fail until `Init`.
    explicit operator bool() const { return interpreter != nullptr; }

 private:
    struct Shared;  // thread-safe state

    void ShareHost(std::shared_ptr<HostControl> host);
    std::shared_ptr<HostControl> SharedHost() const;

    std::unique_ptr<Shared> shared;
    std::unique_ptr<InterpreterImpl> interpreter;
    uint32_t framework = 0;
};

}  // namespace Orvane
