#pragma once

#include <orvane/tensor_impl.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::C {

// Bytes of all elements, or 0 when the data cannot be copied: a dynamic dimension, an unknown type, an input without
// dimensions, or more than can be copied, which is less through a host process.
uint64_t BytesToCopy(TensorType side, DataType type, const std::vector<int64_t>& shape, bool isThroughHost);

// An input or output of a loaded model. Which it is and the model's own shape stay as they are; `shape` may be set.
struct Port {
    // What the tensor tells about itself. Through a host process, `isRemote`, it tells no dynamic dimension as -1 and
    // no text that is sure to be UTF-8; here both are as they should be.
    Port(TensorHandle tensor, TensorType whichSide, uint32_t index, bool isRemote);

    bool IsDynamic() const;

    // Why its data cannot be copied, behind `label`; only of one that has no `bytes`.
    std::string WhyNotCopied() const;

    // Whether an input with this shape could be copied.
    bool CouldHave(const std::vector<int64_t>& otherShape) const;
    void SetShape(const std::vector<int64_t>& otherShape);

    TensorHandle handle;
    TensorType side;
    std::string name;
    std::string label;  // `input 0 "x"`, for a message
    DataType type;
    std::vector<int64_t> modelShape;
    std::vector<int64_t> shape;
    uint64_t bytes = 0;  // of all elements; 0 when it cannot be copied

 private:
    bool isThroughHost;
};

}  // namespace Orvane::C
