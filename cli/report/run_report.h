#pragma once

#include "cli/model/inference.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The largest elements are told of each output, with their names where there are any.
struct TopOptions {
    std::size_t count = 0;  // 0 for a summary instead
    std::vector<std::string> labels;
};

// Throws `Failure` when there are labels and no output has as many elements in its last dimension.
void CheckLabels(const TopOptions& top, const std::vector<orvane::Tensor>& outputs);

// What `orvane run` tells when it is done.
struct RunReport {
    const std::vector<orvane::Tensor>& outputs;  // all of the model's
    const std::vector<Transfer>& transfers;      // those that were copied out
    uint32_t repeat = 1;
    double milliseconds = 0;  // for all repeats together
    TopOptions top;
};

// A line for each output that went to no file, and one for the time when there was a repeat.
void PrintReport(std::ostream& out, const RunReport& report);

// The same as one JSON object; outputs that went to files are listed with these.
void PrintJsonReport(std::ostream& out, const RunReport& report);

}  // namespace Orvane::Cli
