#pragma once

#include "cli/report/print.h"
#include "platform/resources.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// A percentile P is the smallest measurement that at least P % of the measurements do not exceed.
struct Distribution {
    double minimum;
    double p50;
    double p90;
    double p99;
    double p999;  // the percentile 99.9
    double maximum;
    double mean;
};

// Needs at least one measurement; any order.
Distribution Distribute(std::vector<double> values);

// Times are in milliseconds.
struct InferenceTimes {
    double copyIn;
    double compute;
    double copyOut;
};

// The shares of all processors' time that the measured inferences did not get.
struct OtherWork {
    double others;  // used by other programs
    double stolen;  // used by the machine that runs this virtual machine

    // With so much other work, the measurements prove nothing.
    bool IsMuch() const { return others > kMuch || stolen > kMuch; }

    static constexpr double kMuch = 0.05;
};

// Returns the other work between two times; no value if they are too close for the system's count.
std::optional<OtherWork> OtherWorkBetween(const Platform::ProcessorTime& start, const Platform::ProcessorTime& end);

// The result of `orvane bench`.
struct BenchReport {
    std::string date;  // the end of the run, as ISO 8601 in UTC
    Platform::Machine machine;
    std::optional<OtherWork> otherWork;
    std::optional<std::string> model;  // path of the model file
    std::optional<std::string> host;   // path of the host program, if the model ran in a host process
    std::optional<double> launch;      // milliseconds for the start of a host process
    double initialisation = 0;
    InferenceTimes firstInference{};
    uint32_t warmup = 0;
    bool interrupted = false;                // Ctrl-C ended the measurement
    std::optional<std::string> hostEnd;      // why the host process ended during the measurement
    std::vector<InferenceTimes> inferences;  // at least one
    std::optional<Platform::MemoryUse> ownMemory;
    std::optional<Platform::MemoryUse> hostMemory;
};

void PrintBenchReport(std::ostream& out, const BenchReport& report);

// Returns the report as a JSON object, which also has the machine and enough quantiles to draw the distribution.
Json BenchReportJson(const BenchReport& report);

}  // namespace Orvane::Cli
