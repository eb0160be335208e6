#include "sdk/c/port.h"

#include <orvane/host.h>

#include "sdk/c/utf8.h"

#include <algorithm>
#include <utility>

namespace Orvane::C {

namespace {

// Element size times all dimensions, or 0 when that is more than `most`.
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

bool HasDynamicDimension(const std::vector<int64_t>& shape) {
    return std::find(shape.begin(), shape.end(), -1) != shape.end();
}

std::string Label(TensorType side, uint32_t index, const std::string& name) {
    return (side == TensorTypeInput ? "input " : "output ") + std::to_string(index) + " \"" + name + "\"";
}

std::vector<int64_t> ShapeOf(const TensorImpl& tensor, bool isRemote) {
    std::vector<int64_t> shape = tensor.GetShape();
    if (isRemote) {  // where dimensions have 32 bits
        std::replace(shape.begin(), shape.end(), int64_t{0xFFFF'FFFF}, int64_t{-1});
    }
    return shape;
}

}  // namespace

uint64_t BytesToCopy(TensorType side, DataType type, const std::vector<int64_t>& shape, bool isThroughHost) {
    const bool isScalarInput = side == TensorTypeInput && shape.empty();
    return HasDynamicDimension(shape) || isScalarInput
               ? 0
               : BytesUpTo(isThroughHost ? kMaxHostTensorBytes : UINT32_MAX, type, shape);
}

Port::Port(TensorHandle tensor, TensorType whichSide, uint32_t index, bool isRemote)
    : handle(std::move(tensor)),
      side(whichSide),
      name(AsUtf8(handle->GetName())),
      label(Label(side, index, name)),
      type(handle->GetDataType() <= DataTypeFloat64 ? handle->GetDataType() : DataTypeUnknown),
      modelShape(ShapeOf(*handle, isRemote)),
      shape(modelShape),
      isThroughHost(isRemote) {
    bytes = BytesToCopy(side, type, shape, isThroughHost);
}

bool Port::IsDynamic() const {
    return HasDynamicDimension(shape);
}

bool Port::CouldHave(const std::vector<int64_t>& otherShape) const {
    return type == DataTypeUnknown || BytesUpTo(UINT32_MAX, type, otherShape) != 0;
}

void Port::SetShape(const std::vector<int64_t>& otherShape) {
    shape = otherShape;
    bytes = BytesToCopy(side, type, shape, isThroughHost);
}

std::string Port::WhyNotCopied() const {
    if (type == DataTypeUnknown) {
        return " cannot be copied: its element type is unknown; export the model with another";
    }
    if (IsDynamic() && isThroughHost) {
        return " cannot be copied: it has a dynamic dimension, which cannot be set in a host process; run the model "
               "without host_program, or export it with fixed dimensions";
    }
    if (IsDynamic()) {
        return side == TensorTypeInput
                   ? " cannot be copied: it has a dynamic dimension; give it a shape with orvane_resize"
                   : " has a dynamic dimension, and so no size that is known: copy it with orvane_get_output in "
                     "the size that the run makes it";
    }
    if (shape.empty()) {
        return " has no dimensions, which cannot be run: export the model with [1]";
    }
    if (std::find(shape.begin(), shape.end(), 0) != shape.end()) {
        return " has no elements: there is nothing to copy";
    }
    return isThroughHost ? " takes more than the " + std::to_string(kMaxHostTensorBytes) +
                               " bytes that travel to or from a host process: run the model without host_program"
                         : " takes 4 GiB or more, which cannot be copied";
}

}  // namespace Orvane::C
