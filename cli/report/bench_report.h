#pragma once

#include "cli/report/print.h"
#include "platform/resources.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// A percentile is the smallest measurement that at least so many of 100 do not exceed.
struct Distribution {
    double minimum;
    double p50;
    double p90;
    double p99;
    double p999;  // 99.9
    double maximum;
    double mean;
};

// Of at least one measurement, in any order.
Distribution Distribute(std::vector<double> values);

// Times are in milliseconds.
struct InferenceTimes {
    double copyIn;
    double compute;
    double copyOut;
};

// Shares of all processors' time that the measured inferences did not have.
struct OtherWork {
    double others;  // used by other programs
    double stolen;  // taken by what a virtual machine runs on

    // A run beside that much proves nothing.
    bool IsMuch() const { return others > kMuch || stolen > kMuch; }

    static constexpr double kMuch = 0.05;
};

// Between two moments; empty when they are too close for the system's count.
std::optional<OtherWork> OtherWorkBetween(const Platform::ProcessorTime& start, const Platform::ProcessorTime& end);

// What `orvane bench` has measured.
struct BenchReport {
    std::string date;  // when it ended, as ISO 8601 in UTC
    Platform::Machine machine;
    std::optional<OtherWork> otherWork;
    std::optional<std::string> model;  // path of the model file
    std::optional<std::string> host;   // path of the host program, when the model ran in one
    std::optional<double> launch;      // of a host process
    double initialisation = 0;
    InferenceTimes firstInference{};
    uint32_t warmup = 0;
    bool interrupted = false;                // by Ctrl-C
    std::optional<std::string> hostEnd;      // why the host process ended during the measurement
    std::vector<InferenceTimes> inferences;  // at least one
    std::optional<Platform::MemoryUse> ownMemory;
    std::optional<Platform::MemoryUse> hostMemory;
};

void PrintBenchReport(std::ostream& out, const BenchReport& report);

// The same as a JSON object, and also the machine and enough quantiles to draw the distribution.
Json BenchReportJson(const BenchReport& report);

}  // namespace Orvane::Cli
