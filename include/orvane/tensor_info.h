#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {

/// The side of the model that a tensor is on.
enum TensorType : uint32_t {
    TensorTypeInput = 0,   ///< an input
    TensorTypeOutput = 1,  ///< an output
};

/// Type of a tensor's elements. Client and host process exchange these numbers, so they never change.
enum DataType : uint32_t {
    DataTypeUnknown = 0,  ///< any other type
    DataTypeFloat32 = 1,  ///< 32-bit floating point
    DataTypeFloat16 = 2,  ///< 16-bit floating point
    DataTypeInt32 = 3,    ///< signed, 32 bits
    DataTypeUInt8 = 4,    ///< unsigned, 8 bits
    DataTypeInt64 = 5,    ///< signed, 64 bits
    DataTypeBool = 6,     ///< one byte each, 0 or 1
    DataTypeInt16 = 7,    ///< signed, 16 bits
    DataTypeInt8 = 8,     ///< signed, 8 bits
    DataTypeFloat64 = 9,  ///< 64-bit floating point
};

/// Returns the bytes of one element: 0 for `DataTypeUnknown`, 1 for a number that is not in `DataType`.
uint64_t DataTypeSize(DataType type);

/// A tensor as its backend describes it.
struct TensorInfo {
    std::string name;                     ///< UTF-8; empty if the model has no name for it
    bool flag = false;                    ///< no backend sets it
    DataType dataType = DataTypeUnknown;  ///< element type
    uint32_t format = 0;                  ///< format word; 1 from OpenVINO
    std::vector<int64_t> shape = {};      ///< outermost dimension first; dynamic: -1, from a host process 4294967295
};

}  // namespace Orvane
