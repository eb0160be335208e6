#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Orvane::Cli {

// What the shell offers as the value of an argument.
enum class Offer : uint8_t { None, Files, Commands, Shells };

struct ArgumentRules {
    bool isRequired = false;
    bool isAboveZero = false;        // a number must be above 0
    bool takesSeveral = false;       // takes all following values; otherwise one per occurrence
    char separator = '\0';           // separates several values in one text
    const char* excludes = nullptr;  // the name of an argument before this one
    const char* needs = nullptr;     // the name of an argument before this one
    Offer offer = Offer::None;
};

// An argument of a command, and the target for its value. The target must live as long as the command. Without the
// argument the target keeps its value. An argument with a bool is a flag.
struct Argument {
    using Target = std::variant<bool*, double*, int32_t*, uint32_t*, std::string*, std::optional<double>*,
                                std::optional<uint32_t>*, std::optional<std::string>*, std::vector<double>*,
                                std::vector<std::string>*>;

    std::string name;  // "--json", or "MODEL" for a positional argument
    Target target;
    std::string valueName;  // in the help; empty for a flag and for a positional argument
    std::string description;
    ArgumentRules rules = {};

    bool IsOption() const { return name.starts_with("--"); }
    bool IsList() const {
        return std::holds_alternative<std::vector<std::string>*>(target) ||
               std::holds_alternative<std::vector<double>*>(target);
    }
    // Returns the argument as the help shows it: "--input WHICH=FILE".
    std::string Call() const { return valueName.empty() ? name : name + " " + valueName; }
};

inline std::vector<Argument> Joined(std::vector<Argument> first, const std::vector<Argument>& more) {
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

// The parser, the help, the manual page and the completions use this table.
struct Command {
    std::string name;
    std::string description;  // begins with a verb, has no full stop
    std::string example;      // a command line
    std::vector<Argument> arguments;
    // Throws `Failure` and `WrongUsage`.
    std::function<void(std::ostream& out, std::ostream& err)> execute;
};

using Commands = std::vector<Command>;

}  // namespace Orvane::Cli
