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

// These describe the content of `commands` when they run. `commands` must outlive them.
Command HelpCommand(const Commands& commands);
Command CompletionCommand(const Commands& commands);

}  // namespace Orvane::Cli
