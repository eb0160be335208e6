#pragma once

#include "cli/printable.h"

#include <orvane/interpreter.h>
#include <orvane/tensor_impl.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Bytes that the largest tensor can have whose data is copied in this process; `kMaxHostTensorBytes` in a host process.
inline constexpr uint32_t kMaxTensorBytes = 0xFFFF'FFFF;

// A tensor of a loaded model together with its place in the model.
struct ModelTensor {
    TensorType side;
    uint32_t index;
    std::string name;
    DataType elementType;
    std::vector<int64_t> shape;
    TensorHandle handle;
    uint32_t maxBytes;  // of a tensor whose data can be copied

    // Why its data cannot be copied; none when it can. Where it can, `Bytes` is right.
    std::optional<std::string> Obstacle() const;
    uint32_t Bytes() const { return static_cast<uint32_t>(handle->GetByteSize()); }
};

// All inputs or all outputs, in the model's order. They must not outlive `interpreter`. Throws `Failure` when the
// model's host process has ended.
std::vector<ModelTensor> TensorsOf(Interpreter& interpreter, TensorType side, uint32_t maxBytes = kMaxTensorBytes);

// "float32" and the like; "unknown" for a type that data cannot be copied for.
std::string ElementTypeName(DataType type);

// "input" or "output".
std::string SideName(TensorType side);

// `input 0 "image"`, for a message.
std::string Label(const ModelTensor& tensor);

// "[1, 3, ?]"; the question mark is a dynamic dimension.
std::string ShapeText(const std::vector<int64_t>& shape);

}  // namespace Orvane::Cli
