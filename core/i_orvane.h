#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/status.h>
#include <orvane/tensor_info.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

class HostControl;

// What an interpreter asks of the thing that runs its model. The order of the operations is fixed.
// Failed inferences are statuses. Of exceptions a failed allocation may leave any operation; the remote backend throws
// a `std::runtime_error` at a reply that is none, and the local one passes on what the runtime throws and is not the
// runtime's own class of exceptions. A backend stays usable for `Init` after each of them.
// Apart from `Init`, operations expect a successful `Init`. The local backend is used from one thread at a time; the
// remote one may be from several.
class IOrvane {
 public:
    virtual ~IOrvane() = default;

    // Loads the model. A failure has a message; success must have none.
    virtual Status Init(const InterpreterParams& params) = 0;

    // Frees what can be freed before destruction.
    virtual void Release() = 0;

    virtual int32_t GetTensorCount(TensorType type) = 0;

    // `index` must be below the count.
    virtual TensorInfo GetTensorInfo(TensorType type, uint32_t index) = 0;

    // Refused: no backend can bind one tensor's memory to another.
    virtual Status BindTensor(uint32_t index, TensorType type, uint32_t otherIndex, TensorType otherType);

    // Copies `size` bytes from `data` into input `index`; they are copied before the call returns.
    // Fewer bytes than the input holds leave its tail as it was.
    // Fails when there is no such input or `size` is larger than it; the input is then unchanged.
    virtual Status SetInputData(uint32_t index, const void* data, uint32_t size) = 0;

    virtual Status Invoke() = 0;

    // Copies output `index` to `data`.
    virtual Status CopyOutputTo(uint32_t index, void* data, uint32_t size) = 0;

    // The output's bytes in the backend's own memory; null for an input and on failure.
    virtual void* GetTensorData(TensorType type, uint32_t index) = 0;

    virtual std::unordered_map<std::string, std::string> GetExtraInfo() = 0;

    // Replaces the recorded shape only; the model keeps its own.
    virtual Status SetTensorShape(TensorType type, uint32_t index, const std::vector<int64_t>& shape) = 0;

    // Null for a backend that has no host process.
    virtual std::shared_ptr<HostControl> GetHostControl() { return nullptr; }
};

}  // namespace Orvane
