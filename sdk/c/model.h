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

// A loaded model over the SDK's classes. It checks whatever could harm this process or the host before it reaches the
// classes, and trusts no reply of the host that could harm this process. Operations throw `Failure`, `std::bad_alloc`,
// and what the runtime throws.
class Model {
 public:
    // One call of the application: its operations share one deadline and its progress function. Throws if the model is
    // in a call already, which is so when a progress function uses the model that it was called for.
    class Call {
     public:
        explicit Call(Model& which) : Call(which, which.request.timeLimit, which.request.progress != nullptr) {}

        // Of a load, which also stops when it is interrupted between two hosts.
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

    // The functions below but those for any thread want a `Call`, and `Restart` one for a load.

    void Restart();
    void Resize(uint32_t input, const int64_t* dimensions, uint32_t rank);
    void SetInput(uint32_t index, const void* data, uint64_t bytes);
    void Run();
    void GetOutput(uint32_t index, void* data, uint64_t bytes);

    // The memory of an input, as many bytes as the input has. `SetInput` with its address copies nothing.
    void* LendInput(uint32_t index);

    // Whether it is the address of input memory that no call has made invalid.
    bool IsInputMemory(const void* data) const { return inputMemory.IsValid(data); }
    void InvalidateInputMemory() { inputMemory.Invalidate(); }

    // Throw for arguments that `SetInput` or `GetOutput` refuse, and change nothing.
    void CheckInput(uint32_t index, const void* data, uint64_t bytes) const;
    void CheckOutput(uint32_t index, const void* data, uint64_t bytes) const;

    // The bytes of an output where they are, until the next operation.
    const void* ViewOutput(uint32_t index);

    // Throws if the host has ended. Every operation but `Restart` and those that only ask begins with it.
    void RequireHost() const;

    // Without a `Call`.
    uint32_t Count(int32_t side) const;
    const Port& PortAt(int32_t side, uint32_t index) const;

    // Without a `Call`, on any thread.
    void Interrupt();

 private:
    struct Ports {
        std::vector<Port> inputs;
        std::vector<Port> outputs;
    };

    static int32_t Progress(void* self, int32_t step);

    bool IsRemote() const { return !request.params.host.empty(); }
    void Check(const Status& status);

    // What talks to the interpreter goes through here: whatever leaves the host unusable ends it.
    template <typename Work>
    std::invoke_result_t<Work> Talk(Work work) {
        try {
            return work();
        } catch (...) {
            RethrowCaught();
        }
    }
    [[noreturn]] void RethrowCaught();
    [[noreturn]] void EndHost(const Failure& failure);
    [[noreturn]] void GiveUp();

    Ports Load(Interpreter& target);
    std::vector<Port> Describe(Interpreter& target, TensorType side, uint64_t& budget) const;
    void RequireLivingHost(const Interpreter& asked) const;
    const Port& RequireInput(uint32_t index) const;
    template <typename Work>
    void Prepare(Work work);
    void ReloadUnlessPrepared();
    void CopyWhatTheHostSends(Port& port, void* data, uint32_t bytes);

    const LoadRequest request;
    Interpreter interpreter;
    Ports ports;  // they do not outlive what `interpreter` holds

    // While a call is on, the process that is in it: a forked child is in none of its parent's.
    std::optional<Platform::ProcessMark> inCall;
    uint32_t limit = 0;  // of the call

    bool isLoaded = false;
    InputMemory inputMemory;
    bool isPrepared = false;  // the buffers of all inputs are made
    bool hasInput = false;
    bool hasRun = false;
    std::atomic<bool> isInterrupted{false};  // since the last load began
    std::optional<Failure> end;              // of the host: the answer to each operation until the next restart
};

}  // namespace Orvane::C
