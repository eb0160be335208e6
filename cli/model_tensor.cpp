#include "cli/model_tensor.h"

#include "cli/element_type.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Orvane::Cli {
namespace {

constexpr uint64_t kMaxBytes = std::numeric_limits<uint32_t>::max();

bool ExceedsMaxBytes(DataType type, const std::vector<int64_t>& shape) {
    if (std::find(shape.begin(), shape.end(), 0) != shape.end()) {
        return false;
    }
    uint64_t bytes = DataTypeSize(type);
    for (const int64_t dimension : shape) {
        if (static_cast<uint64_t>(dimension) > kMaxBytes / bytes) {
            return true;
        }
        bytes *= static_cast<uint64_t>(dimension);
    }
    return false;
}

}  // namespace

std::string ModelTensor::Obstacle() const {
    if (elementType == DataTypeUnknown) {
        return "its element type is not one that data can be copied for";
    }
    if (std::any_of(shape.begin(), shape.end(), [](int64_t dimension) { return dimension < 0; })) {
        return "its shape " + ShapeText(shape) + " has a dynamic dimension, so that its size is not known";
    }
    if (ExceedsMaxBytes(elementType, shape)) {
        return "its shape " + ShapeText(shape) + " takes 4 GiB or more";
    }
    return "";
}

std::vector<ModelTensor> TensorsOf(Interpreter& interpreter, TensorType side) {
    const int32_t count = side == TensorTypeInput ? interpreter.GetInputCount() : interpreter.GetOutputCount();
    std::vector<ModelTensor> tensors;
    for (int32_t index = 0; index < count; ++index) {
        const auto place = static_cast<uint32_t>(index);
        TensorHandle handle = interpreter.GetTensor(side, place);
        tensors.push_back(
            {side, place, handle->GetName(), handle->GetDataType(), handle->GetShape(), std::move(handle)});
    }
    return tensors;
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

std::string Printable(std::string text) {
    const auto isControl = [](unsigned char letter) { return letter < 0x20 || letter == 0x7f; };
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return text;
}

}  // namespace Orvane::Cli
