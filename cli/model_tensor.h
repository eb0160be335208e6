#pragma once

#include <orvane/interpreter.h>
#include <orvane/tensor_impl.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// A tensor of a loaded model together with its place in the model.
struct ModelTensor {
    TensorType side;
    uint32_t index;
    std::string name;
    DataType elementType;
    std::vector<int64_t> shape;
    TensorHandle handle;

    // Why its data cannot be copied; empty when it can. Where it can, `Bytes` is right.
    std::string Obstacle() const;
    uint32_t Bytes() const { return static_cast<uint32_t>(handle->GetByteSize()); }
};

// All inputs or all outputs, in the model's order. They must not outlive `interpreter`.
std::vector<ModelTensor> TensorsOf(Interpreter& interpreter, TensorType side);

// "input" or "output".
std::string SideName(TensorType side);

// `input 0 "image"`, for a message.
std::string Label(const ModelTensor& tensor);

// "[1, 3, ?]"; the question mark is a dynamic dimension.
std::string ShapeText(const std::vector<int64_t>& shape);

// A model's text as a terminal may show it: control characters are replaced.
std::string Printable(std::string text);

}  // namespace Orvane::Cli
