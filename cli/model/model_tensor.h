#pragma once

#include "cli/printable.h"

#include <orvane/tensor_info.h>
#include <orvane/orvane.hpp>

#include <cstdint>
#include <optional>
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
    uint64_t byteSize;  // 0 when its data cannot be copied

    // Why its data cannot be copied; none when it can.
    std::optional<std::string> Obstacle() const;
    std::size_t Bytes() const { return static_cast<std::size_t>(byteSize); }
};

// As the SDK tells them.
std::vector<ModelTensor> ModelTensors(const std::vector<orvane::Tensor>& tensors);

// All inputs or all outputs, in the model's order.
std::vector<ModelTensor> TensorsOf(const orvane::Model& model, TensorType side);

// "float32" and the like; "unknown" for a type that data cannot be copied for.
std::string ElementTypeName(DataType type);

// "input" or "output".
std::string SideName(TensorType side);

// `input 0 "image"`, for a message.
std::string Label(const ModelTensor& tensor);

// "[1, 3, ?]"; the question mark is a dynamic dimension.
std::string ShapeText(const std::vector<int64_t>& shape);

}  // namespace Orvane::Cli
