#pragma once

#include "cli/report/print.h"

#include <string>
#include <vector>

namespace Orvane::Cli {

// A result of `orvane bench` and the name by which a page calls it.
struct NamedResult {
    std::string name;
    Json result;  // of `BenchReportJson`
};

// Reads an earlier result. Throws a `Failure`, or a `Platform::FileError`, when the file holds none.
NamedResult ReadBenchResult(const std::string& path);

// One HTML file, which needs nothing else, with the results side by side. There is at least one.
std::string BenchPage(const std::vector<NamedResult>& results);

}  // namespace Orvane::Cli
