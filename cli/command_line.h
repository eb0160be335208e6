#pragma once

#include "cli/command.h"

#include <string>
#include <vector>

namespace Orvane::Cli {

// Throws `WrongUsage`, with the nearest name, if there is no such command.
const Command& FindCommand(const Commands& commands, const std::string& name);

// Parses `words`, the words after the command's name, into the targets of the command's arguments. Call it once for a
// command. Throws `WrongUsage`. Only the source includes the parsing library, because its headers take half a minute to
// compile.
void ParseArguments(const Command& command, const std::vector<std::string>& words);

}  // namespace Orvane::Cli
