#pragma once

#include "cli/command.h"

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace Orvane::Cli {

// The program's commands and how it is called. The library that parses is behind this: its headers take half a minute
// to compile.
class CommandLine {
 public:
    CommandLine();
    ~CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // Before parsing.
    void Add(Command command);

    // Fills the arguments of the command that was chosen, and returns it, which lives as long as this; or the text that
    // was asked for instead. Throws `WrongUsage`. To be called once.
    std::variant<const Command*, std::string> Parse(const std::vector<std::string>& arguments);

    // How to call the command that was chosen; the program where none was.
    std::string Usage() const;

    // The same of the command of this name, the program for an empty one. Throws `WrongUsage` when there is none.
    std::string Help(const std::string& command) const;

 private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace Orvane::Cli
