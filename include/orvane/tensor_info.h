#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {

/// Side of the model that a tensor is on.
enum TensorType : uint32_t {
    TensorTypeInput = 0,
    TensorTypeOutput = 1,
};

/// Element type. The numbers travel between client and host process and never change.
enum DataType : uint32_t {
    DataTypeUnknown = 0,
    DataTypeFloat32 = 1,
    DataTypeFloat16 = 2,
    DataTypeInt32 = 3,
    DataTypeUInt8 = 4,
    DataTypeInt64 = 5,
    DataTypeBool = 6,
    DataTypeInt16 = 7,
    DataTypeInt8 = 8,
    DataTypeFloat64 = 9,
};

/// Bytes of one element: 0 for `DataTypeUnknown`, 1 for other numbers.
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
