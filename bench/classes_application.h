#pragma once

#include <orvane/orvane.h>

#include "bench/workload.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Bench {

// An application of the C++ classes: one call for each input, one to run, one for each output. Uses the host program
// `host`, or runs in this process if it is empty.
struct ClassesApplication {
    ClassesApplication(const Workload& workload, const std::string& host) {
        const OptionHandle options = CreateOption();
        options->SetInt(OptionCommonFramework, FrameworkTypeOpenvino);
        options->SetString(OptionCommonModelPath, workload.modelPath.c_str());
        options->SetString(OptionCommonHost, host.c_str());
        Check(model.Init(*options));
        for (size_t i = 0; i < workload.inputs.size(); ++i) {
            inputs.emplace_back(model.GetTensor(TensorTypeInput, static_cast<uint32_t>(i)), workload.inputs[i]);
        }
        for (size_t i = 0; i < workload.outputs.size(); ++i) {
            outputs.emplace_back(model.GetTensor(TensorTypeOutput, static_cast<uint32_t>(i)), workload.outputs[i]);
        }
    }

    void Infer(const uint8_t* input, uint8_t* output) {
        for (auto& [tensor, size] : inputs) {
            Check(tensor->CopyFrom(input, size));
            input += size;
        }
        Check(model.Invoke());
        for (auto& [tensor, size] : outputs) {
            Check(tensor->CopyTo(output, size));
            output += size;
        }
    }

    static void Check(const Status& status) {
        if (!status.Ok()) {
            throw std::runtime_error(status.message);
        }
    }

    Interpreter model;
    std::vector<std::pair<TensorHandle, uint32_t>> inputs;  // with their bytes
    std::vector<std::pair<TensorHandle, uint32_t>> outputs;
};

}  // namespace Orvane::Bench
