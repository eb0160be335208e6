#pragma once

#include "cli/command.h"

namespace Orvane::Cli {

// `orvane run`. `app` owns the parsed subcommand.
Command AddRunCommand(CLI::App& app);

}  // namespace Orvane::Cli
