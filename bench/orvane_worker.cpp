#include <orvane/orvane.h>

#include "bench/worker.h"

#include <stdexcept>
#include <utility>

namespace {

void Check(const Orvane::Status& status) {
    if (!status.Ok()) {
        throw std::runtime_error(status.message);
    }
}

// An application of the SDK: one call for each input, one to run, one for each output.
struct Application {
    Application(const Orvane::Bench::Workload& workload, const std::string& host) {
        const Orvane::OptionHandle options = Orvane::CreateOption();
        options->SetInt(Orvane::OptionCommonFramework, Orvane::FrameworkTypeOpenvino);
        options->SetString(Orvane::OptionCommonModelPath, workload.modelPath.c_str());
        options->SetString(Orvane::OptionCommonHost, host.c_str());
        Check(model.Init(*options));
        for (size_t i = 0; i < workload.inputs.size(); ++i) {
            inputs.emplace_back(model.GetTensor(Orvane::TensorTypeInput, static_cast<uint32_t>(i)), workload.inputs[i]);
        }
        for (size_t i = 0; i < workload.outputs.size(); ++i) {
            outputs.emplace_back(model.GetTensor(Orvane::TensorTypeOutput, static_cast<uint32_t>(i)),
                                 workload.outputs[i]);
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

    Orvane::Interpreter model;
    std::vector<std::pair<Orvane::TensorHandle, uint32_t>> inputs;  // with their bytes
    std::vector<std::pair<Orvane::TensorHandle, uint32_t>> outputs;
};

}  // namespace

// Times the SDK: in this process, or through the host program that the argument names.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(argc, argv, [](const Orvane::Bench::Workload& workload, const std::string& host) {
        auto application = std::make_shared<Application>(workload, host);
        return [application](const uint8_t* input, uint8_t* output) { application->Infer(input, output); };
    });
}
