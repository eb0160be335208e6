#include "cli/model/model_tensor.h"

#include "cli/failure.h"
#include "cli/model/load_hints.h"

#include <algorithm>
#include <utility>

namespace Orvane::Cli {
namespace {

bool Exceeds(uint64_t maxBytes, DataType type, const std::vector<int64_t>& shape) {
    if (std::find(shape.begin(), shape.end(), 0) != shape.end()) {
        return false;
    }
    uint64_t bytes = DataTypeSize(type);
    for (const int64_t dimension : shape) {
        if (static_cast<uint64_t>(dimension) > maxBytes / bytes) {
            return true;
        }
        bytes *= static_cast<uint64_t>(dimension);
    }
    return false;
}

// From a host process a dynamic dimension arrives as its low 32 bits.
std::vector<int64_t> ShapeOf(const TensorImpl& tensor) {
    std::vector<int64_t> shape = tensor.GetShape();
    std::replace(shape.begin(), shape.end(), int64_t{0xFFFF'FFFF}, int64_t{-1});
    return shape;
}

// A host process that has ended answers with empty tensors and, from then on, with none; only a status says why.
void CheckHostLives(Interpreter& interpreter) {
    if (interpreter.GetOutputCount() == 0) {
        if (const Status status = interpreter.Invoke(); status.reason == FailureReasonHostEnded) {
            throw Failure(status.message, {HostEndHint(interpreter.GetHostEnd())});
        }
    }
}

}  // namespace

std::optional<std::string> ModelTensor::Obstacle() const {
    if (elementType == DataTypeUnknown) {
        return "its element type is not one that data can be copied for";
    }
    if (std::any_of(shape.begin(), shape.end(), [](int64_t dimension) { return dimension < 0; })) {
        return "its shape " + ShapeText(shape) + " has a dynamic dimension, so that its size is not known";
    }
    if (Exceeds(kMaxTensorBytes, elementType, shape)) {
        return "its shape " + ShapeText(shape) + " takes 4 GiB or more";
    }
    if (Exceeds(maxBytes, elementType, shape)) {
        return "its shape " + ShapeText(shape) + " takes more than the " + std::to_string(maxBytes) +
               " bytes that can travel to or from a host process; run it without --host and --remote";
    }
    return std::nullopt;
}

std::vector<ModelTensor> TensorsOf(Interpreter& interpreter, TensorType side, uint32_t maxBytes) {
    const int32_t count = side == TensorTypeInput ? interpreter.GetInputCount() : interpreter.GetOutputCount();
    std::vector<ModelTensor> tensors;
    for (int32_t index = 0; index < count; ++index) {
        const auto place = static_cast<uint32_t>(index);
        TensorHandle handle = interpreter.GetTensor(side, place);
        if (handle) {
            tensors.push_back(
                {side, place, handle->GetName(), handle->GetDataType(), ShapeOf(*handle), std::move(handle), maxBytes});
        }
    }
    CheckHostLives(interpreter);
    return tensors;
}

std::string ElementTypeName(DataType type) {
    switch (type) {
        case DataTypeFloat32:
            return "float32";
        case DataTypeFloat16:
            return "float16";
        case DataTypeFloat64:
            return "float64";
        case DataTypeInt64:
            return "int64";
        case DataTypeInt32:
            return "int32";
        case DataTypeInt16:
            return "int16";
        case DataTypeInt8:
            return "int8";
        case DataTypeUInt8:
            return "uint8";
        case DataTypeBool:
            return "bool";
        default:
            return "unknown";
    }
}

std::string SideName(TensorType side) {
    return side == TensorTypeInput ? "input" : "output";
}

std::string Label(const ModelTensor& tensor) {
    return SideName(tensor.side) + " " + std::to_string(tensor.index) + " \"" + Printable(tensor.name) + "\"";
}

std::string ShapeText(const std::vector<int64_t>& shape) {
    std::string text = "[";
    for (const int64_t dimension : shape) {
        text += (text.size() == 1 ? "" : ", ") + (dimension < 0 ? "?" : std::to_string(dimension));
    }
    return text + "]";
}

}  // namespace Orvane::Cli
