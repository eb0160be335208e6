#pragma once

#include "cli/command.h"

#include <string>

// The texts about the program, made from the tables of its commands.
namespace Orvane::Cli {

// Lists all commands, one on each line. Lines have at most 80 letters.
std::string Overview(const Commands& commands);

// Explains one command. Lines have at most 80 letters, except for long words.
std::string HelpOf(const Command& command);

// Returns the tables as one JSON object, for the reference page.
std::string TablesAsJson(const Commands& commands);

// Returns a manual page in the format of man(7).
std::string ManualPage(const Commands& commands);

// Returns a script with which a shell completes command lines. `shell` is "bash", "zsh" or "fish". Any other text
// throws `WrongUsage`.
std::string CompletionScript(const Commands& commands, const std::string& shell);

}  // namespace Orvane::Cli
