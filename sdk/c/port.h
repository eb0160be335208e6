#pragma once

#include <orvane/tensor_impl.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::C {

// A tensor as the interface describes it: an input or output of a loaded model or of a model file.
struct PortDescription {
    TensorType side = TensorTypeInput;
    uint32_t index = 0;
    std::string name;  // UTF-8
    DataType type = DataTypeUnknown;
    std::vector<int64_t> shape;  // a dynamic dimension is -1
    bool isThroughHost = false;

    std::string Label() const;  // `input 0 "x"`, for a message
    bool IsDynamic() const;

    // Returns the bytes of all elements; 0 if the data cannot be copied.
    uint64_t Bytes() const;

    // Returns why the data cannot be copied and what to do, as one line; empty if `Bytes` is not 0.
    std::string Problem() const;
};

// An input or output of a loaded model. `SetShape` changes `shape` and never `modelShape`.
struct Port : PortDescription {
    // A host process sends a dynamic dimension as 0xFFFFFFFF, and any bytes as a name. The port has -1 and UTF-8
    // instead.
    Port(TensorHandle tensor, TensorType whichSide, uint32_t whichIndex, bool isRemote);

    // Whether the data could be copied if the input had this shape.
    bool CouldHave(const std::vector<int64_t>& otherShape) const;
    void SetShape(const std::vector<int64_t>& otherShape);

    TensorHandle handle;
    std::vector<int64_t> modelShape;
    uint64_t bytes = 0;   // as `Bytes`
    std::string problem;  // as `Problem`
};

}  // namespace Orvane::C
