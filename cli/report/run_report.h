#pragma once

#include "cli/model/inference.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Selects the report of the largest elements of each output, with their labels.
struct TopOptions {
    std::size_t count = 0;  // 0: a summary instead
    std::vector<std::string> labels;
};

// Throws `Failure` if there are labels and the last dimension of no output has their number.
void CheckLabels(const TopOptions& top, const std::vector<orvane::Tensor>& outputs);

// The result of `orvane run`.
struct RunReport {
    const std::vector<orvane::Tensor>& outputs;  // all outputs of the model
    const std::vector<Transfer>& transfers;      // the outputs that were copied
    uint32_t repeat = 1;
    double milliseconds = 0;  // of all repeats together
    TopOptions top;
};

// Prints a line for each output that was not written to a file, and a line with the time if there was a repeat.
void PrintReport(std::ostream& out, const RunReport& report);

// Prints the same as one JSON object, which also lists the outputs in files.
void PrintJsonReport(std::ostream& out, const RunReport& report);

}  // namespace Orvane::Cli
