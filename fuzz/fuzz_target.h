#pragma once

#include "platform/process.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// Each fuzz target defines this function. libFuzzer calls it with changing inputs; the replay program calls it with the
// seeds. It checks a property of the code under test, and ends the process if the property does not hold.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace Orvane::Fuzz {

inline void Require(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "this does not hold: %s\n", property);
        std::fflush(stderr);
        Platform::FailFast();
    }
}

// Takes values from the front of an input. At its end, missing bytes of a number are 0, and a run is shorter.
class Input {
 public:
    Input(const uint8_t* data, size_t size) : rest(data), left(size) {}

    bool IsAtEnd() const { return left == 0; }

    // Takes a little-endian number of up to 4 bytes.
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
