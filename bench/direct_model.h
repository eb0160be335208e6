#pragma once

#include "bench/workload.h"
#include "testing/support/stub_work.h"

#include <openvino/openvino.hpp>

#include <cstdint>
#include <vector>

namespace Orvane::Bench {

// A workload's model as an application without the SDK runs it: with the runtime's classes, in its process. The stub
// model is a piece of memory.
class DirectModel {
 public:
    explicit DirectModel(const Workload& workload);

    // Copies the inputs in, runs, copies the outputs out.
    void Run(const uint8_t* input, uint8_t* output);

 private:
    std::vector<uint8_t> stub;
    Testing::StubWork work;
    ov::Core core;
    ov::InferRequest request;        // empty for the stub
    std::vector<ov::Tensor> inputs;  // of the request, or views of the stub's memory
    std::vector<ov::Tensor> outputs;
};

}  // namespace Orvane::Bench
