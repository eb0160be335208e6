#pragma once

#include "cli/run_cli.h"

#include <sstream>
#include <string>
#include <vector>

namespace Orvane::Cli {

// What a run of the whole program gave.
struct CapturedRun {
    int exitValue;
    std::string out;
    std::string err;
};

inline CapturedRun RunCaptured(const std::vector<std::string>& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int exitValue = RunCli(arguments, out, err);
    return {exitValue, out.str(), err.str()};
}

}  // namespace Orvane::Cli
