#pragma once

#include <orvane/tensor_info.h>

#include <openvino/openvino.hpp>

#include <vector>

namespace Orvane {

// Describes the inputs or outputs of a model. A dynamic dimension is -1. A port without a name has an empty name.
std::vector<TensorInfo> DescribePorts(const std::vector<ov::Output<const ov::Node>>& ports);

}  // namespace Orvane
