#pragma once

#include "cli/model/model_options.h"

#include <orvane/model_file.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Returns what the user can do about a model that did not load, one line each. Depends on the options, the error and
// the files.
std::vector<std::string> LoadHints(const ModelOptions& options, const orvane::Error& error);

// Returns what the user can do about a failure of the system, during the load or later.
std::vector<std::string> SystemHints(const orvane::Error& error);

// Throws `Failure` for a folder that is not a SavedModel: the runtime would use all memory before it refuses the
// folder.
void RefuseFolder(const ModelOptions& options);

// Returns all names that --device accepts. If there are several devices of a kind, "GPU.0" and "GPU.1", the name of the
// kind selects the first.
std::vector<std::string> AcceptedNames(const std::vector<orvane::Device>& devices);

// Returns the name of a device as OpenVINO lists it, and ignores case; an empty text for no value.
std::string DeviceName(const std::optional<std::string>& given);

}  // namespace Orvane::Cli
