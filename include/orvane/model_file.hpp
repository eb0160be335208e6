#pragma once

/// \file
/// Lists devices, and describes and reshapes model files, without running a model. For C++17 and later. As in
/// `orvane.hpp`, texts are UTF-8 and a failure throws an `orvane::Error`. Link the library `orvane_c`:
/// `orvane_client_c` contains no OpenVINO and refuses every call.

#include <orvane/orvane.hpp>

#include <cstdint>
#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orvane {

namespace detail {

// Collects the arguments of a callback of the C interface, and the exception that the callback throws. No exception may
// pass through C.
template <typename Result>
struct Collector {
    Result result;
    std::exception_ptr failure;

    template <typename Add>
    static void Receive(void* self, Add add) noexcept {
        auto& collector = *static_cast<Collector*>(self);
        try {
            add(collector.result);
        } catch (...) {
            collector.failure = std::current_exception();
        }
    }

    Result Take(orvane_error* error) {
        Check(error);
        if (failure) {
            std::rethrow_exception(failure);
        }
        return std::move(result);
    }
};

}  // namespace detail

/// A device of this machine that can run models.
struct Device {
    std::string name;      ///< the value for `Options::device`
    std::string fullName;  ///< the name of the processor or card; may be empty
};

/// Lists the devices of this machine that can run models.
inline std::vector<Device> Devices() {
    using Collector = detail::Collector<std::vector<Device>>;
    Collector collector;
    return collector.Take(orvane_list_devices(
        [](void* user, const char* name, const char* fullName) {
            Collector::Receive(user, [&](std::vector<Device>& devices) { devices.push_back({name, fullName}); });
        },
        &collector));
}

/// The inputs and outputs of a model file.
struct FileTensors {
    std::vector<Tensor> inputs;   ///< the inputs, in the model's order
    std::vector<Tensor> outputs;  ///< the outputs, in the model's order
};

/// Reads a model file without compiling it, and returns its inputs and outputs.
inline FileTensors DescribeFile(const std::string& modelPath) {
    using Collector = detail::Collector<FileTensors>;
    Collector collector;
    return collector.Take(orvane_describe_file(
        modelPath.c_str(),
        [](void* user, int32_t side, const orvane_tensor* tensor) {
            Collector::Receive(user, [&](FileTensors& tensors) {
                auto& list = side == ORVANE_INPUT ? tensors.inputs : tensors.outputs;
                list.push_back(detail::TensorOf(static_cast<Side>(side), static_cast<uint32_t>(list.size()), *tensor));
            });
        },
        &collector));
}

/// Shapes of inputs, by the index of the input. All dimensions are at least 1, the outermost first.
using InputShapes = std::map<uint32_t, std::vector<int64_t>>;

/// Reads a model file, sets these shapes, and writes the model to the .xml file `out`. Writes its weights to a .bin
/// file in the same folder. If `out` is empty, only checks the shapes. If it throws, earlier files of these names are
/// unchanged. Each input with dynamic dimensions needs a shape. A library built with MinGW refuses this function.
inline void ReshapeFile(const std::string& modelPath, const InputShapes& shapes, const std::string& out) {
    std::vector<orvane_shape> plain;
    for (const auto& [input, shape] : shapes) {
        plain.push_back({sizeof(orvane_shape), shape.data(), detail::Size(shape), input});
    }
    detail::Check(orvane_reshape_file(modelPath.c_str(), plain.data(), detail::Size(plain), out.c_str()));
}

}  // namespace orvane
