#pragma once

#include <orvane/status.h>
#include <orvane/tensor_info.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Operations of the inference runtime that need no loaded model. Each library defines these functions; they fail in a
// library without a runtime. They can throw `std::bad_alloc`.
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

// Reads the tensors of a model file without compiling the model. A dynamic dimension is -1.
Status DescribeModelFile(const std::string& path, FileTensors& tensors);

// Shapes by the index of the input.
using InputShapes = std::map<uint32_t, std::vector<int64_t>>;

// Reads a model file and sets the shapes of its inputs. Writes the model to `out`, an .xml file, and its weights to the
// .bin file beside it. Overwrites these files in place. Weights keep their precision. If `out` is empty, writes
// nothing.
// Fails if an input still has dynamic dimensions. If it cannot write the files, the reason is `FailureReasonSystem`
// without the system's error number, and parts of the files may remain.
Status ReshapeModelFile(const std::string& path, const InputShapes& shapes, const std::string& out);

}  // namespace Orvane
