#include <orvane/orvane_c.h>

#include "bench/classes_application.h"
#include "bench/worker.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

void Check(orvane_error* error) {
    if (error != nullptr) {
        const std::unique_ptr<orvane_error, void (*)(orvane_error*)> owned(error, orvane_error_free);
        throw std::runtime_error(orvane_error_message(error));
    }
}

// An application of the C interface: one call for each inference.
struct Application {
    Application(const Orvane::Bench::Workload& workload, const std::string& host) {
        orvane_options options{};
        options.struct_size = sizeof options;
        options.model_path = workload.modelPath.c_str();
        options.host_program = host.empty() ? nullptr : host.c_str();
        // With a cache file, the stub's model need not be a file.
        options.cache_path = workload.IsStub() ? host.c_str() : nullptr;
        orvane_model* opened = nullptr;
        Check(orvane_open(&options, &opened));
        model.reset(opened);
        for (const uint32_t bytes : workload.inputs) {
            inputs.push_back({sizeof(orvane_input), static_cast<uint32_t>(inputs.size()), nullptr, bytes});
        }
        for (const uint32_t bytes : workload.outputs) {
            outputs.push_back({sizeof(orvane_output), static_cast<uint32_t>(outputs.size()), nullptr, bytes});
        }
    }

    void Infer(const uint8_t* input, uint8_t* output) {
        for (orvane_input& tensor : inputs) {
            tensor.data = input;
            input += tensor.bytes;
        }
        for (orvane_output& tensor : outputs) {
            tensor.data = output;
            output += tensor.bytes;
        }
        Check(orvane_infer(model.get(), inputs.data(), static_cast<uint32_t>(inputs.size()), outputs.data(),
                           static_cast<uint32_t>(outputs.size())));
    }

    std::unique_ptr<orvane_model, void (*)(orvane_model*)> model{nullptr, orvane_close};
    std::vector<orvane_input> inputs;
    std::vector<orvane_output> outputs;
};

}  // namespace

// Times the C interface, in turns with the C++ classes: in this process, or through the host program that the argument
// names.
int main(int argc, char** argv) {
    using namespace Orvane::Bench;
    return RunInTurns(argc, argv, [](const Workload& workload, const std::string& host) {
        return std::vector<Way>{
            {"", InferWith<Application>(workload, host)},
            {host.empty() ? "classes, in process" : "classes, remote", InferWith<ClassesApplication>(workload, host)}};
    });
}
