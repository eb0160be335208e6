#pragma once

#include "cli/command.h"

#include <string>

// What the program says about itself, made from the tables of its commands.
namespace Orvane::Cli {

// All commands, one line each. Lines have at most 80 letters.
std::string Overview(const Commands& commands);

// How to call one command. Lines have at most 80 letters, long words aside.
std::string HelpOf(const Command& command);

// The tables as one JSON object, for the page that has them.
std::string TablesAsJson(const Commands& commands);

// A manual page, in the language of man(7).
std::string ManualPage(const Commands& commands);

// A script that makes a shell complete the program's command lines. `shell` is "bash", "zsh" or "fish"; any other
// throws `WrongUsage`.
std::string CompletionScript(const Commands& commands, const std::string& shell);

}  // namespace Orvane::Cli
