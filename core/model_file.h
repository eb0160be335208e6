#pragma once

#include <orvane/status.h>
#include <orvane/tensor_info.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Questions to the inference runtime that need no loaded model. Each library defines these functions; a library without
// a runtime refuses them. They throw `std::bad_alloc`.
namespace Orvane {

struct Device {
    std::string name;      // as the runtime lists it
    std::string fullName;  // the processor or card
};

// Adds the devices that the runtime can use on this machine to `devices`.
Status ListDevices(std::vector<Device>& devices);

struct FileTensors {
    std::vector<TensorInfo> inputs;
    std::vector<TensorInfo> outputs;
};

// The tensors of a model file. Reads the file but does not compile the model. A dynamic dimension is -1.
Status DescribeModelFile(const std::string& path, FileTensors& tensors);

// The shape of each input, by its index.
using InputShapes = std::map<uint32_t, std::vector<int64_t>>;

// Reads a model file, gives inputs the shapes, and writes the model to `out`, an .xml, and its .bin beside it, in
// place. Weights keep their precision. An empty `out` only tries. Refuses when an input has dynamic dimensions
// afterwards. If the files cannot be written, the reason is `FailureReasonSystem`, without the system's error number,
// and parts of them may be left.
Status ReshapeModelFile(const std::string& path, const InputShapes& shapes, const std::string& out);

}  // namespace Orvane
