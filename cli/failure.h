#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Cli {

// Ends the command with exit value 1, as a `Platform::FileError` does. The hints say what the user can do, one line
// each.
struct Failure : std::runtime_error {
    explicit Failure(const std::string& message, std::vector<std::string> whatToDo = {})
        : std::runtime_error(message), hints(std::move(whatToDo)) {}

    std::vector<std::string> hints;
    std::vector<std::string>
        missingArguments;  // shown after the hints, at the end of the command line that lacked them
};

// The command line is wrong: exit value 2, and a pointer to the help.
struct WrongUsage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An empty text does not leave an argument out. Throws `WrongUsage`.
inline void RefuseEmpty(const std::string& argument, const std::optional<std::string>& given,
                        const std::string& whatItTakes) {
    if (given && given->empty()) {
        throw WrongUsage(argument + " is empty; it takes " + whatItTakes);
    }
}

}  // namespace Orvane::Cli
