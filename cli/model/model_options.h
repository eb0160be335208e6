#pragma once

#include "cli/command.h"
#include "cli/model/key.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The arguments that select the model and say how to load it. No text is empty.
struct ModelOptions {
    std::optional<std::string> model;   // path of the model file, "-" for the standard input; not needed with a cache
    std::vector<std::string> shapes;    // for `ParseShapes`
    std::optional<std::string> device;  // without a value the SDK selects the device
    std::optional<std::string> cache;   // path of the cache file
    bool makeCache = false;
    KeyOptions key;
    std::optional<std::string> host;    // path of the host program that runs the model
    bool remote = false;                // selects the host program beside this program
    std::optional<double> timeout;      // seconds that a call may wait for the host process
    std::optional<double> loadTimeout;  // the same for the load; by default `timeout`
    std::optional<uint32_t> logLevel;

    // Returns the path of the host program; no value if the model runs in this process.
    std::optional<std::string> HostProgram() const;

    bool IsEncrypted() const { return key.key || key.file; }
};

// Returns MODEL, the command's `own` arguments, and the options about the model.
std::vector<Argument> ArgumentsForModel(ModelOptions& options, const std::vector<Argument>& own);

// Returns --shape, which other commands have too.
Argument ArgumentForShapes(std::vector<std::string>& shapes);

// Throws `WrongUsage` for an empty text and for options that cannot be combined.
void CheckUsage(const ModelOptions& options);

}  // namespace Orvane::Cli
