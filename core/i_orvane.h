#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/status.h>
#include <orvane/tensor_info.h>

#include "core/errors.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

class HostControl;

// A backend runs the model of an interpreter. Do not change the order of its functions.
// A failed inference returns a failed status. An operation can throw `std::bad_alloc`. The remote backend throws
// `std::runtime_error` if the host process sends a wrong reply. The local backend passes on exceptions of the runtime
// that are not of the runtime's own class. `Init` works after each of these exceptions.
// All operations but `Init` need a successful `Init` first. Use the local backend from one thread at a time; the remote
// backend is thread-safe.
class IOrvane {
 public:
    virtual ~IOrvane() = default;

    // Loads the model. A failure has a message; a success must have no message.
    virtual Status Init(const InterpreterParams& params) = 0;

    // Frees what it can before destruction.
    virtual void Release() = 0;

    virtual int32_t GetTensorCount(TensorType type) = 0;

    // `index` must be below the count.
    virtual TensorInfo GetTensorInfo(TensorType type, uint32_t index) = 0;

    // Every backend refuses this.
    virtual Status BindTensor(uint32_t /*index*/, TensorType /*type*/, uint32_t /*otherIndex*/,
                              TensorType /*otherType*/) {
        return MakeErrorStatus(kNotSupported);
    }

    // Copies `size` bytes from `data` to input `index` before it returns. If `size` is smaller than the input, the rest
    // of the input keeps its bytes.
    // Fails if the input does not exist or is smaller than `size`. The input is then unchanged.
    virtual Status SetInputData(uint32_t index, const void* data, uint32_t size) = 0;

    virtual Status Invoke() = 0;

    // Copies output `index` to `data`. Fails if `size` is not the output's byte size.
    virtual Status CopyOutputTo(uint32_t index, void* data, uint32_t size) = 0;

    // Returns the output's bytes in the backend's memory, or null for an input and on failure.
    virtual void* GetTensorData(TensorType type, uint32_t index) = 0;

    virtual std::unordered_map<std::string, std::string> GetExtraInfo() = 0;

    // Replaces the recorded shape only; the model keeps its shape.
    virtual Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) = 0;

    // Null for a backend without a host process.
    virtual std::shared_ptr<HostControl> GetHostControl() { return nullptr; }

    // Sets `memory` to `size` bytes for the data of input `index`. `SetInputData` with their address copies nothing.
    // The bytes are aligned to 8 bytes. Every operation but this one leaves their content undefined.
    // The memory lives as long as the backend or `memory`, whichever is longer, also after the host process has ended.
    // With a host process all inputs share this memory, and a forked child must not write to it.
    // Fails like `SetInputData`. With a host process it does not check whether `index` exists.
    virtual Status GetInputMemory(uint32_t /*index*/, uint32_t /*size*/, std::shared_ptr<void>& /*memory*/) {
        return MakeErrorStatus(kNotSupported);
    }
};

// Each library defines these two functions and so selects its backends.

// The backend that runs models of this framework, a `FrameworkType`, in this process. Null if the library has no such
// backend.
std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t framework);

// The backend that runs models in a host process.
std::unique_ptr<IOrvane> CreateRemoteBackend();

}  // namespace Orvane
