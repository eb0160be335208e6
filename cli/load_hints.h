#pragma once

#include "cli/model_options.h"

#include <string>
#include <vector>

namespace Orvane::Cli {

// What the user of a model that did not load can do about it, one line each, judged by the options and by the
// files as they are.
std::vector<std::string> LoadHints(const ModelOptions& options);

}  // namespace Orvane::Cli
