#pragma once

#include "cli/model/model_options.h"

#include <orvane/orvane.hpp>

#include <string>
#include <vector>

namespace Orvane::Cli {

// What the user of a model that did not load can do about it, one line each, judged by the options, by the error and by
// the files as they are.
std::vector<std::string> LoadHints(const ModelOptions& options, const orvane::Error& error);

// Throws `Failure` for a model that is a folder which the runtime does not read as one; it would ask for all memory
// there is before it says so.
void RefuseFolder(const ModelOptions& options);

// What to do about a failure at any time that the system is to blame for.
std::vector<std::string> SystemHints(const orvane::Error& error);

}  // namespace Orvane::Cli
