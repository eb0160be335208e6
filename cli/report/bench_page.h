#pragma once

#include "cli/report/print.h"

#include <string>
#include <vector>

namespace Orvane::Cli {

// A result of `orvane bench`, and its name on a page.
struct NamedResult {
    std::string name;
    Json result;  // of `BenchReportJson`
};

// Reads an earlier result. Throws `Failure` or `Platform::FileError` if the file has no result.
NamedResult ReadBenchResult(const std::string& path);

// Returns one HTML file that needs no other file, with the results side by side. Needs at least one result.
std::string BenchPage(const std::vector<NamedResult>& results);

}  // namespace Orvane::Cli
