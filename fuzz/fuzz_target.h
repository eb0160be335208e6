#pragma once

#include "platform/process.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// What a fuzz target has: this function, which libFuzzer calls with ever other inputs, and the replay of the seeds with
// those. It states a property of the code under test for any input; where that does not hold the process ends.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace Orvane::Fuzz {

inline void Require(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "this does not hold: %s\n", property);
        std::fflush(stderr);
        Platform::FailFast();
    }
}

// Takes an input apart, from its front. What is missing at its end is 0 in a number, and missing in a run.
class Input {
 public:
    Input(const uint8_t* data, size_t size) : rest(data), left(size) {}

    bool IsAtEnd() const { return left == 0; }

    // A little-endian number of so many bytes, up to 4.
    uint32_t TakeNumber(size_t bytes) {
        uint32_t number = 0;
        const std::string run = TakeRun(bytes);
        for (size_t i = 0; i < run.size(); ++i) {
            number |= uint32_t{static_cast<uint8_t>(run[i])} << 8 * i;
        }
        return number;
    }

    std::string TakeRun(size_t size) {
        const size_t count = std::min(size, left);
        std::string run(reinterpret_cast<const char*>(rest), count);
        rest += count;
        left -= count;
        return run;
    }

 private:
    const uint8_t* rest;
    size_t left;
};

}  // namespace Orvane::Fuzz
