#include "bench/direct_model.h"

#include <cstring>
#include <stdexcept>

namespace Orvane::Bench {

namespace {

void ExpectSizes(const std::vector<ov::Tensor>& tensors, const std::vector<uint32_t>& sizes) {
    for (size_t i = 0; i < tensors.size(); ++i) {
        if (tensors.size() != sizes.size() || tensors[i].get_byte_size() != sizes[i]) {
            throw std::logic_error("the model has not the tensors that the workload says");
        }
    }
}

}  // namespace

DirectModel::DirectModel(const Workload& workload) : work(workload.work, workload.amount) {
    if (workload.IsStub()) {
        stub.resize(workload.StubBytes());
        inputs.emplace_back(ov::element::u8, ov::Shape{workload.InputBytes()}, stub.data());
        outputs.emplace_back(ov::element::u8, ov::Shape{workload.OutputBytes()}, stub.data());
        return;
    }
    ov::CompiledModel model = core.compile_model(workload.modelPath, "CPU");
    request = model.create_infer_request();
    for (size_t i = 0; i < model.inputs().size(); ++i) {
        inputs.push_back(request.get_input_tensor(i));
    }
    for (size_t i = 0; i < model.outputs().size(); ++i) {
        outputs.push_back(request.get_output_tensor(i));
    }
    ExpectSizes(inputs, workload.inputs);
    ExpectSizes(outputs, workload.outputs);
}

void DirectModel::Run(const uint8_t* input, uint8_t* output) {
    for (ov::Tensor& tensor : inputs) {
        std::memcpy(tensor.data(), input, tensor.get_byte_size());
        input += tensor.get_byte_size();
    }
    if (request) {
        request.infer();
    } else {
        work.Run();
    }
    for (const ov::Tensor& tensor : outputs) {
        std::memcpy(output, tensor.data(), tensor.get_byte_size());
        output += tensor.get_byte_size();
    }
}

}  // namespace Orvane::Bench
