#pragma once

#include <orvane/status.h>
#include <orvane/tensor_info.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// What is asked of the inference runtime without running a model. The library that this is linked into defines these;
// one without a runtime refuses them. A failed allocation is thrown.
namespace Orvane {

struct Device {
    std::string name;      // as the runtime lists it
    std::string fullName;  // of the processor or card
};

// Adds to `devices` what the runtime can use on this machine.
Status ListDevices(std::vector<Device>& devices);

struct FileTensors {
    std::vector<TensorInfo> inputs;
    std::vector<TensorInfo> outputs;
};

// The tensors of a model file, which is read and not compiled. A dynamic dimension is -1.
Status DescribeModelFile(const std::string& path, FileTensors& tensors);

// Dimensions by the index of an input.
using InputShapes = std::map<uint32_t, std::vector<int64_t>>;

// Reads a model file, gives inputs the shapes, and writes the model to `out`, an .xml, and its .bin beside it, in
// place. Weights keep their precision. An empty `out` only tries. Refuses when an input has dynamic dimensions
// afterwards.
Status ReshapeModelFile(const std::string& path, const InputShapes& shapes, const std::string& out);

}  // namespace Orvane
