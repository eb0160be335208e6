#include "core/model_file.h"

#include "backends/openvino/describe_ports.h"
#include "core/errors.h"
#include "platform/path.h"

#include <openvino/openvino.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <utility>

namespace Orvane {

namespace {

template <typename Work>
Status Try(Work work) {
    try {
        return work();
    } catch (const ov::NotImplemented& error) {
        return MakeErrorStatus(error.what());
    } catch (const ov::Exception& error) {
        return MakeErrorStatus(error.what(), kErrorCode, FailureReasonRuntime);
    }
}

std::shared_ptr<ov::Model> Read(const ov::Core& core, const std::string& path) {
    return core.read_model(Platform::PathFromUtf8(path), std::filesystem::path());
}

std::string FullName(const ov::Core& core, const std::string& device) {
    try {
        return core.get_property(device, ov::device::full_name);
    } catch (const ov::Exception&) {
        return "";  // a device without a full name is still a device
    }
}

// Lists the inputs with dynamic dimensions. Empty if all dimensions are fixed.
std::string DynamicInputs(const ov::Model& model) {
    const std::vector<TensorInfo> inputs = DescribePorts(model.inputs());
    std::string text;
    for (size_t i = 0; i < inputs.size(); ++i) {
        const std::vector<int64_t>& shape = inputs[i].shape;
        if (std::find(shape.begin(), shape.end(), -1) != shape.end()) {
            text += (text.empty() ? "input " : ", input ") + std::to_string(i) + " \"" + inputs[i].name + "\"";
        }
    }
    return text;
}

Status Write(const ov::Core& core, const std::shared_ptr<ov::Model>& model, const std::string& out) {
    try {
        ov::save_model(model, Platform::PathFromUtf8(out), false);
        Read(core, out);  // the writer may not notice a full disk, so this reads the result
        return MakeSuccessStatus();
    } catch (const ov::NotImplemented&) {
        throw;
    } catch (const std::runtime_error&) {
        return MakeErrorStatus("the model could not be written", kErrorCode, FailureReasonSystem);
    }
}

}  // namespace

Status ListDevices(std::vector<Device>& devices) {
    return Try([&] {
        const ov::Core core("");
        for (const std::string& name : core.get_available_devices()) {
            devices.push_back({name, FullName(core, name)});
        }
        return MakeSuccessStatus();
    });
}

Status DescribeModelFile(const std::string& path, FileTensors& tensors) {
    return Try([&] {
        const ov::Core core("");
        const std::shared_ptr<const ov::Model> model = Read(core, path);
        tensors = {DescribePorts(model->inputs()), DescribePorts(model->outputs())};
        return MakeSuccessStatus();
    });
}

Status ReshapeModelFile(const std::string& path, const InputShapes& shapes, const std::string& out) {
    return Try([&] {
        const ov::Core core("");
        const std::shared_ptr<ov::Model> model = Read(core, path);
        const size_t count = std::as_const(*model).inputs().size();
        std::map<size_t, ov::PartialShape> given;
        for (const auto& [input, shape] : shapes) {
            if (input >= count) {
                return MakeErrorStatus("there is no input " + std::to_string(input) + ": the model has " +
                                       std::to_string(count));
            }
            const std::vector<ov::Dimension> dimensions(shape.begin(), shape.end());
            given.emplace(input, ov::PartialShape(dimensions));
        }
        if (!given.empty()) {
            model->reshape(given);
        }
        if (const std::string dynamic = DynamicInputs(*model); !dynamic.empty()) {
            return MakeErrorStatus("these inputs have dynamic dimensions and no shape was given for them: " + dynamic);
        }
        if (!out.empty()) {
            return Write(core, model, out);
        }
        return MakeSuccessStatus();
    });
}

}  // namespace Orvane
