#pragma once

#include "platform/resources.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Times are in milliseconds.
struct InferenceTimes {
    double copyIn;
    double compute;
    double copyOut;
};

// What `orvane bench` has measured.
struct BenchReport {
    std::string model;
    std::string host;              // path of the host program; empty when the model ran in this process
    std::optional<double> launch;  // of a host process
    double initialisation = 0;
    InferenceTimes firstInference{};
    uint32_t warmup = 0;
    bool interrupted = false;
    std::vector<InferenceTimes> inferences;  // at least one
    std::optional<Platform::MemoryUse> ownMemory;
    std::optional<Platform::MemoryUse> hostMemory;
};

void PrintBenchReport(std::ostream& out, const BenchReport& report);

// The same as one JSON object on one line.
void PrintJsonBenchReport(std::ostream& out, const BenchReport& report);

}  // namespace Orvane::Cli
