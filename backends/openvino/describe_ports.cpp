#include "backends/openvino/describe_ports.h"

#include <orvane/log.h>

#include <algorithm>
#include <iterator>

namespace Orvane {

namespace {

DataType DataTypeOf(const ov::element::Type& type) {
    switch (type) {
        case ov::element::Type_t::f32:
            return DataTypeFloat32;
        case ov::element::Type_t::f16:
            return DataTypeFloat16;
        case ov::element::Type_t::i32:
            return DataTypeInt32;
        case ov::element::Type_t::u8:
            return DataTypeUInt8;
        case ov::element::Type_t::i64:
            return DataTypeInt64;
        case ov::element::Type_t::boolean:
            return DataTypeBool;
        case ov::element::Type_t::i16:
            return DataTypeInt16;
        case ov::element::Type_t::i8:
            return DataTypeInt8;
        case ov::element::Type_t::f64:
            return DataTypeFloat64;
        default:
            return DataTypeUnknown;
    }
}

TensorInfo Describe(const ov::Output<const ov::Node>& port) {
    TensorInfo info;
    try {
        info.name = port.get_any_name();
    } catch (const ov::Exception& error) {
        Log(kLogLevelError, "[ORVANE]:port.get_any_name() error:%s", error.what());
    }
    info.dataType = DataTypeOf(port.get_element_type());
    info.format = 1;
    for (const ov::Dimension& dimension : port.get_partial_shape()) {
        info.shape.push_back(dimension.is_static() ? dimension.get_length() : -1);
    }
    return info;
}

}  // namespace

std::vector<TensorInfo> DescribePorts(const std::vector<ov::Output<const ov::Node>>& ports) {
    std::vector<TensorInfo> infos;
    std::transform(ports.begin(), ports.end(), std::back_inserter(infos), Describe);
    return infos;
}

}  // namespace Orvane
