#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Bench {

// What one inference runs and moves. Every variant gets the inputs as one run of bytes, one tensor behind the other,
// and gives the outputs likewise.
struct Workload {
    std::string modelPath;          // for the stub, what the stub host takes for one
    std::vector<uint32_t> inputs;   // bytes of each tensor
    std::vector<uint32_t> outputs;  // the stub's output is the start of its input, and zeros where that is shorter
    std::string work = {};          // the stub's, as `Testing::StubWork` has it
    int64_t amount = 0;

    bool IsStub() const;
    uint32_t InputBytes() const;
    uint32_t OutputBytes() const;
    uint32_t StubBytes() const;  // of the memory that is the stub
};

// "face", "voice", "pose", or "stub:INPUT:OUTPUT[:WORK:AMOUNT]" with two numbers of bytes.
// Throws `std::invalid_argument` for anything else.
Workload ParseWorkload(const std::string& text);

// The same numbers in every process, floats between -1 and 1.
std::vector<uint8_t> InputData(const Workload& workload);

}  // namespace Orvane::Bench
