#pragma once

#include "cli/model/model_options.h"

#include <orvane/orvane.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// What the user can do about a model that did not load, one line each. Depends on the options, the error and the files.
std::vector<std::string> LoadHints(const ModelOptions& options, const orvane::Error& error);

// Throws `Failure` for a folder that is not a SavedModel: the runtime would take all memory before it refuses it.
void RefuseFolder(const ModelOptions& options);

// The name of a device as OpenVINO lists it, found without regard to capital letters; an empty text for no value.
std::string DeviceName(const std::optional<std::string>& given);

// What to do about a failure of the system, whenever it comes.
std::vector<std::string> SystemHints(const orvane::Error& error);

}  // namespace Orvane::Cli
