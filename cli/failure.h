#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Cli {

// Ends the command with exit value 1, as a `Platform::FileError` does. Each hint is one line that says what the user
// can do.
struct Failure : std::runtime_error {
    explicit Failure(const std::string& message, std::vector<std::string> whatToDo = {})
        : std::runtime_error(message), hints(std::move(whatToDo)) {}

    std::vector<std::string> hints;
    std::vector<std::string> missingArguments;  // shown after the hints, at the end of the user's command line
};

// The command line is wrong: ends with exit value 2 and refers to the help.
struct WrongUsage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace Orvane::Cli
