#pragma once

#include "cli/model/model_options.h"

#include <orvane/status.h>

#include <string>
#include <vector>

namespace Orvane::Cli {

// What the user of a model that did not load can do about it, one line each, judged by the options, by the status and
// by the files as they are.
std::vector<std::string> LoadHints(const ModelOptions& options, const Status& status);

}  // namespace Orvane::Cli
