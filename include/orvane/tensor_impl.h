#pragma once

#include <orvane/status.h>
#include <orvane/tensor_info.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Orvane {

/// One input or output of a loaded model. The tensor reads its description once, when it is created. The data stays in
/// the backend. Destroy a tensor before its interpreter, and before the interpreter's next `Init`.
class TensorImpl {
 public:
    virtual ~TensorImpl() = default;

    virtual std::string GetName() const = 0;       ///< Returns the model's name for the tensor, UTF-8; may be empty.
    virtual TensorType GetTensorType() const = 0;  ///< Returns whether it is an input or an output.
    virtual DataType GetDataType() const = 0;      ///< Returns the type of its elements.
    virtual uint32_t GetFormat() const = 0;        ///< Returns the format word; 1 from OpenVINO.
    virtual bool GetFlag() const = 0;              ///< Returns the flag, which no backend sets.

    /// Returns the dimensions, outermost first. A dynamic dimension is -1. With a host process it is 4294967295,
    /// because a reply contains only the low 32 bits.
    virtual std::vector<int64_t> GetShape() const = 0;

    /// Returns the element size times all dimensions, with wrap-around. With a dynamic dimension the result is a
    /// meaningless large number, with `DataTypeUnknown` it is 0. A shape without dimensions is one element.
    virtual uint64_t GetByteSize() const = 0;

    /// Passes `shape` to the backend, which only records it. The model keeps its own shape. The first `CopyFrom`
    /// creates the buffers for the recorded shapes. With a host process a shape of at least one dimension ends the host
    /// process, and this call fails. Deliberately, this tensor keeps its shape and byte size: ask the interpreter for
    /// the tensor again to see the new ones.
    virtual Status Resize(const std::vector<int64_t>& shape) = 0;

    /// Always fails: tensors cannot share memory.
    virtual Status Bind(const TensorImpl& other) = 0;

    /// Copies `size` bytes from `data` into this input. Does not use `data` after the call. If `size` is
    /// smaller than the input, the rest of the input keeps its bytes. Fails on an output, and if `size` is larger than
    /// the input. With a host process more than `kMaxHostTensorBytes` ends the application.
    virtual Status CopyFrom(const void* data, uint32_t size) = 0;

    /// Copies this output to `destination`. Fails on an input, and if `size` is not the output's byte size.
    /// With a host process more than `kMaxHostTensorBytes` ends the host process.
    virtual Status CopyTo(void* destination, uint32_t size) = 0;

    /// Returns the output's bytes, which the backend owns. Returns null for an input and on failure.
    /// In this process the bytes are valid while the interpreter lives, and `Invoke` overwrites them. From a host
    /// process they are valid until the next call on the interpreter or its tensors.
    virtual void* GetData() = 0;

    /// Sets `memory` to `size` bytes into which you write the data of this input: `CopyFrom` with their address then
    /// copies nothing. They are aligned to 8 bytes. Their content is undefined after every other call for the model.
    /// The memory lives as long as the interpreter or `memory`, whichever is longer, also after a host process has
    /// ended. With a host process all inputs of a model have the same memory, and a forked child must not write to it.
    /// In this process, fails if `CopyFrom` would fail. With a host process, fails if `size` exceeds
    /// `kMaxHostTensorBytes`, but does not compare it with the input. Always fails for an output, and for a tensor of a
    /// class that is not the SDK's.
    virtual Status GetMemory(uint32_t size, std::shared_ptr<void>& memory);
};

/// Owns a tensor; empty if there is no such tensor.
using TensorHandle = std::unique_ptr<TensorImpl>;

}  // namespace Orvane
