#pragma once

#include "cli/command.h"

#include <vector>

namespace Orvane::Cli {

class CommandLine;

Command InfoCommand();
Command RunCommand();
Command BenchCommand();
Command ReshapeCommand();
Command DevicesCommand();
Command EncryptCommand();
Command DecryptCommand();

// Tells of the commands that `line` has by then, which must live as long.
Command HelpCommand(const CommandLine& line);

// All of them, in the order of the help.
std::vector<Command> AllCommands(const CommandLine& line);

}  // namespace Orvane::Cli
