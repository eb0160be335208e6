#include "sdk/c/model_file.h"

#include "platform/file.h"
#include "platform/path.h"
#include "platform/private_folder.h"
#include "platform/whole_file.h"
#include "sdk/c/failure.h"
#include "sdk/c/options.h"
#include "sdk/c/port.h"
#include "sdk/c/utf8.h"

#include <filesystem>
#include <vector>

namespace Orvane::C {

namespace {

void Check(const Status& status) {
    if (!status.Ok()) {
        throw FailureOf(status);
    }
}

void PassTensors(const std::vector<TensorInfo>& infos, TensorType side, TensorSink sink, void* user) {
    uint32_t index = 0;
    for (const TensorInfo& info : infos) {
        const PortDescription port{side, index++, AsUtf8(info.name), info.dataType, info.shape};
        const std::string problem = port.Problem();
        const orvane_tensor tensor{sizeof tensor,
                                   port.name.c_str(),
                                   port.shape.data(),
                                   static_cast<uint32_t>(port.shape.size()),
                                   port.type,
                                   port.Bytes(),
                                   problem.empty() ? nullptr : problem.c_str()};
        sink(user, static_cast<int32_t>(side), &tensor);
    }
}

void CheckModelPath(const std::string& path) {
    if (path.empty()) {
        throw BadArgument("the model path is empty: name a file");
    }
    RequireFile(path, "model file");
}

void Move(const std::filesystem::path& from, const std::filesystem::path& to) {
    std::error_code error;
    std::filesystem::rename(from, to, error);
    if (error) {
        throw Platform::FileError::OfSystem("cannot write " + Platform::Utf8FromPath(to),
                                            static_cast<uint32_t>(error.value()));
    }
}

// Moves the two files of a model from `folder` to their places: both or neither. `folder` must be on the same disk.
void Place(const std::filesystem::path& folder, const std::filesystem::path& description,
           const std::filesystem::path& weights) {
    const std::filesystem::path earlier = folder / "earlier.bin";
    const bool isReplaced = !Platform::IsMissing(weights);
    if (isReplaced) {
        Move(weights, earlier);
    }
    try {
        Move(folder / "model.bin", weights);
        Move(folder / "model.xml", description);
    } catch (const Platform::FileError&) {
        std::error_code ignored;
        if (isReplaced) {
            std::filesystem::rename(earlier, weights, ignored);
        } else {
            std::filesystem::remove(weights, ignored);
        }
        throw;
    }
}

// The runtime does not say why it could not write the model to `folder`. This writes another file there to find out.
[[noreturn]] void ThrowWriteFailure(const std::filesystem::path& folder, const std::string& out) {
    constexpr size_t kProbe = 1 << 20;
    try {
        Platform::WholeFile probe(Platform::Utf8FromPath(folder / "probe"));
        probe.Write(std::vector<uint8_t>(kProbe).data(), kProbe);
        probe.Close();
    } catch (const Platform::FileError& error) {
        throw Platform::FileError::OfSystem("cannot write " + out, error.Code());
    }
    throw Refused("cannot write " + out + ": check that its folder may be written to and has room");
}

}  // namespace

void ForEachDevice(DeviceSink sink, void* user) {
    std::vector<Device> devices;
    Check(ListDevices(devices));
    for (const Device& device : devices) {
        sink(user, AsUtf8(device.name).c_str(), AsUtf8(device.fullName).c_str());
    }
}

void ForEachTensor(const std::string& path, TensorSink sink, void* user) {
    CheckModelPath(path);
    FileTensors tensors;
    Check(DescribeModelFile(path, tensors));
    PassTensors(tensors.inputs, TensorTypeInput, sink, user);
    PassTensors(tensors.outputs, TensorTypeOutput, sink, user);
}

InputShapes ReadShapes(const orvane_shape* first, uint32_t count) {
    constexpr size_t kFirstSize = 24;
    constexpr uint32_t kHighestRank = 64;
    InputShapes shapes;
    ForEach(first, count, kFirstSize, "a shape", [&](const orvane_shape& shape) {
        const std::string label = "the shape for input " + std::to_string(shape.input);
        if (shape.dimensions == nullptr || shape.rank == 0 || shape.rank > kHighestRank) {
            throw BadArgument(label + " has no dimensions, or more than " + std::to_string(kHighestRank));
        }
        const std::vector<int64_t> dimensions(shape.dimensions, shape.dimensions + shape.rank);
        for (const int64_t dimension : dimensions) {
            if (dimension < 1) {
                throw BadArgument(label + " has the dimension " + std::to_string(dimension) + ": set at least 1");
            }
        }
        if (!shapes.emplace(shape.input, dimensions).second) {
            throw BadArgument(label + " is set twice: set it once");
        }
    });
    return shapes;
}

void Reshape(const std::string& path, const InputShapes& shapes, const std::string& out) {
    CheckModelPath(path);
    if (out.empty()) {
        Check(ReshapeModelFile(path, shapes, out));
        return;
    }
    if (!out.ends_with(".xml")) {
        throw BadArgument(out + " does not end in .xml: the model is written as an .xml with its .bin beside it");
    }
    const std::filesystem::path place = Platform::FinalPlace(out);
    const std::filesystem::path weights = Platform::FinalPlace(Platform::WeightsFileOf(Platform::Utf8FromPath(place)));
    const Platform::PrivateFolder folder(place);
    const Status status = ReshapeModelFile(path, shapes, Platform::Utf8FromPath(folder.Path() / "model.xml"));
    if (status.reason == FailureReasonSystem) {
        ThrowWriteFailure(folder.Path(), out);
    }
    Check(status);
    Place(folder.Path(), place, weights);
}

}  // namespace Orvane::C
