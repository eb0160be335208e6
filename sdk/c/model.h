#pragma once

#include <orvane/interpreter.h>

#include "sdk/c/failure.h"
#include "sdk/c/options.h"
#include "sdk/c/port.h"

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace Orvane::C {

// A loaded model over the SDK's classes, which are handed nothing that could harm this process or the host, and whose
// host is believed nothing that could. Operations throw `Failure`, `std::bad_alloc`, and what the runtime throws.
class Model {
 public:
    explicit Model(LoadRequest loadRequest);

    void Restart();
    uint32_t Count(int32_t side) const;
    const Port& PortAt(int32_t side, uint32_t index) const;
    void Resize(uint32_t input, const int64_t* dimensions, uint32_t rank);
    void SetInput(uint32_t index, const void* data, uint64_t bytes);
    void Run();
    void GetOutput(uint32_t index, void* data, uint64_t bytes);

    // Throw for arguments that `SetInput` or `GetOutput` refuse, and change nothing.
    void CheckInput(uint32_t index, const void* data, uint64_t bytes) const;
    void CheckOutput(uint32_t index, const void* data, uint64_t bytes) const;

    // The bytes of an output where they are, until the next operation.
    const void* ViewOutput(uint32_t index);

    // Throws when the host has ended. Every operation but `Restart` and those that only ask begins with it.
    void RequireHost() const;

    // Any thread.
    void Interrupt();

 private:
    struct Ports {
        std::vector<Port> inputs;
        std::vector<Port> outputs;
    };

    bool IsRemote() const { return !request.params.host.empty(); }
    std::string HowHostEnded() const;
    void Check(const Status& status);

    // What talks to the interpreter goes through here: a reply that is none ends the host.
    template <typename Work>
    std::invoke_result_t<Work> Talk(Work work);

    Ports Load(Interpreter& target);
    std::vector<Port> Describe(Interpreter& target, TensorType side, uint64_t& budget) const;
    void RequireShapes() const;
    void ReloadUnlessPrepared();
    void CopyWhatTheHostSends(Port& port, void* data, uint32_t bytes);

    const LoadRequest request;
    Interpreter interpreter;
    Ports ports;  // they do not outlive what `interpreter` holds
    bool isLoaded = false;
    bool hasInput = false;
    bool hasRun = false;
    std::optional<Failure> end;  // of the host: what each operation answers until the next restart
};

}  // namespace Orvane::C
