#pragma once

#include <orvane/status.h>
#include <orvane/tensor_info.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Orvane {

/// One input or output of a loaded model. The description is read when the tensor is made and answers
/// locally; data stays in the backend. A tensor must not outlive the interpreter that gave it, nor that
/// interpreter's next `Init`.
class TensorImpl {
 public:
    virtual ~TensorImpl() = default;

    virtual std::string GetName() const = 0;
    virtual TensorType GetTensorType() const = 0;
    virtual DataType GetDataType() const = 0;
    virtual uint32_t GetFormat() const = 0;
    virtual bool GetFlag() const = 0;

    /// Outermost dimension first. A dynamic one is -1; from a host process it arrives as 4294967295, because dimensions
    /// travel with 32 bits.
    virtual std::vector<int64_t> GetShape() const = 0;

    /// Element size times all dimensions, with wrap-around: a dynamic dimension gives a huge number and
    /// `DataTypeUnknown` gives 0. A shape without dimensions is one element.
    virtual uint64_t GetByteSize() const = 0;

    /// Hands `shape` to the backend, which only records it: the model keeps the shape that it was made with, and the
    /// next first `CopyFrom` makes its buffers by the new one. With a host process a shape of at least one dimension
    /// ends the host, and this call fails. This tensor's own shape and byte size deliberately stay as they were: ask
    /// the interpreter for the tensor again to see the new ones.
    virtual Status Resize(const std::vector<int64_t>& shape) = 0;

    /// Binds another tensor's memory to this one; every backend refuses it.
    virtual Status Bind(const TensorImpl& other) = 0;

    /// Copies `size` bytes from `data` into this input; they are copied before the call returns.
    /// Fewer bytes than the input holds leave its tail as it was. Fails on an output and when `size` is
    /// larger than the input. With a host process more than `kMaxHostTensorBytes` ends the application.
    virtual Status CopyFrom(const void* data, uint32_t size) = 0;

    /// Copies this output into `destination`. Fails on an input and unless `size` is exactly its byte size.
    /// With a host process more than `kMaxHostTensorBytes` ends the host.
    virtual Status CopyTo(void* destination, uint32_t size) = 0;

    /// The output's bytes in the backend's memory, not owned by the caller; null for an input and on failure.
    /// In this process valid while the interpreter lives and rewritten by `Invoke`; from a host process valid
    /// only until the next call on the interpreter or its tensors.
    virtual void* GetData() = 0;
};

/// Owns a tensor; empty when there is no such tensor.
using TensorHandle = std::unique_ptr<TensorImpl>;

}  // namespace Orvane
