#pragma once

#include "cli/command.h"

namespace Orvane::Cli {

// `orvane encrypt` and `orvane decrypt`. `app` owns the parsed subcommand.
Command AddEncryptCommand(CLI::App& app);
Command AddDecryptCommand(CLI::App& app);

}  // namespace Orvane::Cli
