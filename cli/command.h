#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <limits>
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
    bool takesSeveral = false;  // takes all following values; otherwise one per occurrence
    char separator = '\0';      // separates several values in one text
    double least = 0;           // of a number
    double most = std::numeric_limits<uint32_t>::max();
    const char* excludes = nullptr;  // the name of an argument before this one
    const char* needs = nullptr;     // the name of an argument before this one
    Offer offer = Offer::None;
};

constexpr ArgumentRules kFile = {.offer = Offer::Files};
constexpr ArgumentRules kRequiredFile = {.isRequired = true, .offer = Offer::Files};
constexpr ArgumentRules kAboveZero = {.least = 1};

// An argument of a command, and the target for its value. The target must live as long as the command. Without the
// argument the target keeps its value. An argument with a bool is a flag. No text may be empty.
struct Argument {
    using Target =
        std::variant<bool*, double*, uint32_t*, std::string*, std::optional<double>*, std::optional<uint32_t>*,
                     std::optional<std::string>*, std::vector<double>*, std::vector<std::string>*>;

    std::string name;  // "--json", or "MODEL" for a positional argument
    Target target;
    std::string valueName;  // in the help; empty for a flag and for a positional argument
    std::string description;
    ArgumentRules rules = {};

    bool IsOption() const { return name.starts_with("--"); }
    template <typename T>
    bool Holds() const {
        return std::holds_alternative<T*>(target);
    }
    bool IsList() const { return Holds<std::vector<std::string>>() || Holds<std::vector<double>>(); }
    bool IsWholeNumber() const { return Holds<uint32_t>() || Holds<std::optional<uint32_t>>(); }
    bool IsNumber() const { return IsWholeNumber() || Holds<double>() || Holds<std::optional<double>>(); }
    // Returns the argument as the help shows it: "--input WHICH=FILE".
    std::string Call() const { return valueName.empty() ? name : name + " " + valueName; }
};

inline std::vector<Argument> Joined(const std::vector<std::vector<Argument>>& parts) {
    std::vector<Argument> all;
    for (const std::vector<Argument>& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
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

Command InfoCommand();
Command RunCommand();
Command BenchCommand();
Command ReshapeCommand();
Command DevicesCommand();
Command EncryptCommand();
Command DecryptCommand();

// These describe the content of `commands` when they run. `commands` must outlive them.
Command HelpCommand(const Commands& commands);
Command CompletionCommand(const Commands& commands);

// Throws `WrongUsage`, with the nearest name, if there is no such command.
const Command& FindCommand(const Commands& commands, const std::string& name);

// Parses `words`, the words after the command's name, into the targets of the command's arguments. Call it once for a
// command. Throws `WrongUsage`.
void ParseArguments(const Command& command, const std::vector<std::string>& words);

}  // namespace Orvane::Cli
