#include <orvane/tensor_info.h>

namespace Orvane {

uint64_t DataTypeSize(DataType type) {
    switch (type) {
        case DataTypeUnknown:
            return 0;
        case DataTypeFloat16:
        case DataTypeInt16:
            return 2;
        case DataTypeFloat32:
        case DataTypeInt32:
            return 4;
        case DataTypeInt64:
        case DataTypeFloat64:
            return 8;
        default:
            return 1;
    }
}

}  // namespace Orvane
