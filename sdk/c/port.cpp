#include "sdk/c/port.h"

#include <orvane/host.h>

#include "sdk/c/utf8.h"

#include <algorithm>
#include <utility>

namespace Orvane::C {

namespace {

// Returns the element size times all dimensions, or 0 if the product exceeds `most`.
uint64_t BytesUpTo(uint64_t most, DataType type, const std::vector<int64_t>& shape) {
    uint64_t bytes = DataTypeSize(type);
    for (const int64_t dimension : shape) {
        const auto factor = static_cast<uint64_t>(dimension);
        if (factor == 0 || bytes > most / factor) {
            return 0;
        }
        bytes *= factor;
    }
    return bytes;
}

std::string TextOf(const std::vector<int64_t>& shape) {
    std::string text = "[";
    for (const int64_t dimension : shape) {
        text.append(text.size() > 1 ? "," : "").append(dimension == -1 ? "?" : std::to_string(dimension));
    }
    return text + "]";
}

std::vector<int64_t> ShapeOf(const TensorImpl& tensor, bool isRemote) {
    std::vector<int64_t> shape = tensor.GetShape();
    if (isRemote) {  // dimensions from a host process have 32 bits
        std::replace(shape.begin(), shape.end(), int64_t{0xFFFF'FFFF}, int64_t{-1});
    }
    return shape;
}

}  // namespace

std::string PortDescription::Label() const {
    return (side == TensorTypeInput ? "input " : "output ") + std::to_string(index) + " \"" + name + "\"";
}

bool PortDescription::IsDynamic() const {
    return std::find(shape.begin(), shape.end(), -1) != shape.end();
}

uint64_t PortDescription::Bytes() const {
    const bool isScalarInput = side == TensorTypeInput && shape.empty();
    return IsDynamic() || isScalarInput ? 0 : BytesUpTo(isThroughHost ? kMaxHostTensorBytes : UINT32_MAX, type, shape);
}

std::string PortDescription::Problem() const {
    if (Bytes() != 0) {
        return "";
    }
    if (type == DataTypeUnknown) {
        return Label() + " has an element type that is not supported: export the model with another";
    }
    const std::string subject = Label() + " has the shape " + TextOf(shape);
    if (IsDynamic() && isThroughHost) {
        return subject +
               ", and a dynamic dimension cannot be set in a host process: run the model in this process, or "
               "write it with a fixed shape first";
    }
    if (IsDynamic()) {
        return subject + (side == TensorTypeInput
                              ? " with a dynamic dimension: set its shape before its data"
                              : " with a dynamic dimension, so each run decides its size: copy it into memory of that "
                                "size, or export the model with a fixed shape");
    }
    if (shape.empty()) {
        return subject + ", and an input without dimensions cannot be set: export the model with the shape [1]";
    }
    if (std::find(shape.begin(), shape.end(), 0) != shape.end()) {
        return subject + " and so no elements: there is nothing to copy";
    }
    return subject + (isThroughHost
                          ? ", which is more than the " + std::to_string(kMaxHostTensorBytes) +
                                " bytes that can be passed to or from a host process: run the model in this process"
                          : ", which is 4 GiB or more: use a model with smaller tensors");
}

Port::Port(TensorHandle tensor, TensorType whichSide, uint32_t whichIndex, bool isRemote)
    : PortDescription{whichSide,
                      whichIndex,
                      AsUtf8(tensor->GetName()),
                      tensor->GetDataType() <= DataTypeFloat64 ? tensor->GetDataType() : DataTypeUnknown,
                      ShapeOf(*tensor, isRemote),
                      isRemote},
      handle(std::move(tensor)),
      modelShape(shape) {
    SetShape(modelShape);
}

bool Port::CouldHave(const std::vector<int64_t>& otherShape) const {
    return type == DataTypeUnknown || BytesUpTo(UINT32_MAX, type, otherShape) != 0;
}

void Port::SetShape(const std::vector<int64_t>& otherShape) {
    shape = otherShape;
    bytes = Bytes();
    problem = Problem();
}

}  // namespace Orvane::C
