#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Orvane::Cli {

struct ArgumentRules {
    bool isRequired = false;
    bool isAboveZero = false;        // of a number
    bool takesSeveral = false;       // as many values as follow, where a vector else gets one each time it is given
    char separator = '\0';           // between several values in one
    const char* excludes = nullptr;  // the name of an argument before this one
    const char* needs = nullptr;     // likewise
};

// An argument of a command, and where parsing puts its value, which must live as long as the command. What is not given
// stays as it was. A bool belongs to a flag.
struct Argument {
    using Target = std::variant<bool*, double*, int32_t*, uint32_t*, std::string*, std::optional<double>*,
                                std::optional<uint32_t>*, std::optional<std::string>*, std::vector<double>*,
                                std::vector<std::string>*>;

    std::string name;  // "--json"; or "MODEL", which is told by its place
    Target target;
    std::string valueName;  // what stands for the value in the help; empty for none
    std::string description;
    ArgumentRules rules = {};
};

inline std::vector<Argument> Joined(std::vector<Argument> first, const std::vector<Argument>& more) {
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

// `execute` throws `Failure` and `WrongUsage`.
struct Command {
    std::string name;
    std::string description;
    std::vector<Argument> arguments;
    std::function<void(std::ostream& out, std::ostream& err)> execute;
};

}  // namespace Orvane::Cli
