#pragma once

#include <orvane/interpreter.h>

#include "core/call_watch.h"
#include "platform/process.h"
#include "sdk/c/failure.h"
#include "sdk/c/input_memory.h"
#include "sdk/c/options.h"
#include "sdk/c/port.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <vector>

namespace Orvane::C {

// Loads a model. A new cache file is written to a private folder beside its place, read once to check that it is whole,
// and renamed. If that fails, the log says why, and the model runs without it.
Status LoadModel(Interpreter& target, const LoadRequest& request);

// A loaded model, which uses the SDK's classes. It checks all arguments that could harm this process or the host
// process before it passes them to the classes. It also checks all replies of the host process that could harm this
// process. Operations throw `Failure`, `std::bad_alloc`, and the runtime's exceptions.
class Model {
 public:
    // One call of the application: its operations share one deadline and one progress function. Throws if the model is
    // already in a call. This happens if a progress function uses the model whose call runs it.
    class Call {
     public:
        explicit Call(Model& which) : Call(which, which.request.timeLimit, which.request.progress != nullptr) {}

        // A call that loads. `Interrupt` also stops it while it waits for the second host process, which checks a new
        // cache.
        static Call ForLoad(Model& which) { return Call(which, which.request.loadTimeLimit, true); }

        ~Call() { model.inCall.reset(); }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

     private:
        Call(Model& which, uint32_t milliseconds, bool hasProgress);

        Model& model;
        CallWatch watch;
    };

    explicit Model(LoadRequest loadRequest);

    // Create a `Call` before you use these functions, and a `Call::ForLoad` before `Restart`.

    void Restart();
    void Resize(uint32_t input, const int64_t* dimensions, uint32_t rank);
    void SetInput(uint32_t index, const void* data, uint64_t bytes);
    void Run();
    void GetOutput(uint32_t index, void* data, uint64_t bytes);

    // Returns memory for the whole data of an input. `SetInput` with its address copies nothing.
    void* LendInput(uint32_t index);

    // Whether `data` is the address of input memory that is still valid.
    bool IsInputMemory(const void* data) const { return inputMemory.IsValid(data); }
    void InvalidateInputMemory() { inputMemory.Invalidate(); }

    // These throw for the arguments that `SetInput` or `GetOutput` refuse. They change nothing.
    void CheckInput(uint32_t index, const void* data, uint64_t bytes) const;
    void CheckOutput(uint32_t index, const void* data, uint64_t bytes) const;

    // Returns the data of an output in the backend's memory, valid until the next operation.
    const void* ViewOutput(uint32_t index);

    // Throws `end`, if it is set. All operations that use the interpreter do the same, except `Restart`.
    void RequireHost() const;

    // You need no `Call` for these two functions.
    uint32_t Count(int32_t side) const;
    const Port& PortAt(int32_t side, uint32_t index) const;

    // Thread-safe. You need no `Call` for it.
    void Interrupt();

 private:
    struct Ports {
        std::vector<Port> inputs;
        std::vector<Port> outputs;
    };

    static int32_t Progress(void* self, int32_t step);

    bool IsRemote() const { return !request.params.host.empty(); }
    void Check(const Status& status);

    // Runs work that uses the interpreter. If it throws an exception that leaves the host process unusable, ends the
    // host process.
    template <typename Work>
    std::invoke_result_t<Work> UseInterpreter(Work work) {
        try {
            return work();
        } catch (...) {
            RethrowCaught();
        }
    }
    [[noreturn]] void RethrowCaught();
    [[noreturn]] void EndHost(const Failure& failure);
    [[noreturn]] void Cancel();

    Ports Load(Interpreter& target);
    Ports LoadAgain();
    void TakeHandles(Ports loaded);
    std::vector<Port> Describe(Interpreter& target, TensorType side, uint64_t& budget) const;
    void RequireLivingHost(const Interpreter& asked) const;
    const Port& RequireInput(uint32_t index) const;
    template <typename Work>
    void Prepare(Work work);
    void ReloadUnlessPrepared();
    void CopyAnySize(Port& port, void* data, uint32_t bytes);

    LoadRequest request;  // does not change after the first load
    Interpreter interpreter;
    Ports ports;  // their handles must not outlive the interpreter's model

    // During a call, the process of the call: a forked child is not in its parent's call.
    std::optional<Platform::ProcessMark> inCall;
    uint32_t limit = 0;  // of this call, in milliseconds

    bool isLoaded = false;
    InputMemory inputMemory;
    bool isPrepared = false;  // the buffers of all inputs exist
    bool hasInput = false;
    bool hasRun = false;
    std::atomic<bool> isInterrupted{false};  // since the last load began

    // Set if the host process has ended, or if the library could not load the model again. All operations throw it
    // until the next restart.
    std::optional<Failure> end;
};

}  // namespace Orvane::C
