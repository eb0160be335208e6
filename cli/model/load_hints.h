#pragma once

#include "cli/model/model_options.h"

#include <orvane/host_end.h>
#include <orvane/status.h>

#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// What the user of a model that did not load can do about it, one line each, judged by the options, by the status, by
// how its host process ended and by the files as they are.
std::vector<std::string> LoadHints(const ModelOptions& options, const std::optional<std::string>& key,
                                   const Status& status, const HostEnd& hostEnd);

// How a host process ended, and what that may come from.
std::string HostEndHint(const HostEnd& end);

}  // namespace Orvane::Cli
