#pragma once

#include "cli/command.h"

namespace Orvane::Cli {

// `orvane info`. `app` owns the parsed subcommand.
Command AddInfoCommand(CLI::App& app);

}  // namespace Orvane::Cli
