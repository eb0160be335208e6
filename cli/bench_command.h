#pragma once

#include "cli/command.h"

namespace Orvane::Cli {

// `orvane bench`. `app` owns the parsed subcommand.
Command AddBenchCommand(CLI::App& app);

}  // namespace Orvane::Cli
