#pragma once

#include "cli/command.h"

namespace Orvane::Cli {

Command InfoCommand();
Command RunCommand();
Command BenchCommand();
Command ReshapeCommand();
Command DevicesCommand();
Command EncryptCommand();
Command DecryptCommand();

// They say what is in `commands` when they are executed. It must live as long as they do.
Command HelpCommand(const Commands& commands);
Command CompletionCommand(const Commands& commands);

}  // namespace Orvane::Cli
