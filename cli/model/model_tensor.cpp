#include "cli/model/model_tensor.h"

#include <orvane/host.h>

#include <algorithm>

namespace Orvane::Cli {

std::optional<std::string> ModelTensor::Obstacle() const {
    const auto has = [this](int64_t dimension) {
        return std::find(shape.begin(), shape.end(), dimension) != shape.end();
    };
    if (byteSize != 0) {
        return std::nullopt;
    }
    if (elementType == DataTypeUnknown) {
        return "its element type is not one that data can be copied for";
    }
    if (has(-1)) {
        return "its shape " + ShapeText(shape) + " has a dynamic dimension, so that its size is not known";
    }
    if (has(0)) {
        return "its shape " + ShapeText(shape) + " has no elements";
    }
    if (shape.empty()) {
        return "it has no dimensions, which cannot be run";
    }
    return "its shape " + ShapeText(shape) + " takes too many bytes: up to " + std::to_string(kMaxHostTensorBytes) +
           " can travel to or from a host process, and less than 4 GiB be copied without --host and --remote";
}

std::vector<ModelTensor> ModelTensors(const std::vector<orvane::Tensor>& tensors) {
    std::vector<ModelTensor> made;
    for (const orvane::Tensor& tensor : tensors) {
        made.push_back({static_cast<TensorType>(tensor.side), tensor.index, tensor.name,
                        static_cast<DataType>(tensor.type), tensor.shape, tensor.byteSize});
    }
    return made;
}

std::vector<ModelTensor> TensorsOf(const orvane::Model& model, TensorType side) {
    return ModelTensors(side == TensorTypeInput ? model.Inputs() : model.Outputs());
}

std::string ElementTypeName(DataType type) {
    return orvane::NameOf(static_cast<orvane::ElementType>(type));
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
