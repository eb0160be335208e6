#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Bench {

// What one inference runs and copies. Every variant gets the inputs as one sequence of bytes, one tensor after another,
// and returns the outputs in the same form.
struct Workload {
    std::string modelPath;          // for the stub, the text that the stub host takes as a model
    std::vector<uint32_t> inputs;   // bytes of each tensor
    std::vector<uint32_t> outputs;  // the stub's output is the start of its input, then zeros
    std::string work = {};          // of the stub, as for `Testing::StubWork`
    int64_t amount = 0;

    bool IsStub() const;
    uint32_t InputBytes() const;
    uint32_t OutputBytes() const;
    uint32_t StubBytes() const;  // of the stub's memory
};

// "face", "voice", "pose", or "stub:INPUT:OUTPUT[:WORK:AMOUNT]" with two numbers of bytes.
// Throws `std::invalid_argument` for anything else.
Workload ParseWorkload(const std::string& text);

// Floats between -1 and 1, the same in every process.
std::vector<uint8_t> InputData(const Workload& workload);

}  // namespace Orvane::Bench
