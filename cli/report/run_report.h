#pragma once

#include "cli/model/inference.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace Orvane::Cli {

// What `orvane run` tells when it is done.
struct RunReport {
    const std::vector<ModelTensor>& outputs;  // all of the model's
    const std::vector<Transfer>& transfers;   // those that were copied out
    uint32_t repeat;
    double milliseconds;  // for all repeats together
};

// A line for each output that went to no file, and one for the time when there was a repeat.
void PrintReport(std::ostream& out, const RunReport& report);

// The same as one JSON object; outputs that went to files are listed with these.
void PrintJsonReport(std::ostream& out, const RunReport& report);

}  // namespace Orvane::Cli
