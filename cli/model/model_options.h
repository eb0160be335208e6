#pragma once

#include "cli/command.h"
#include "cli/model/key.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The arguments that say which model a command loads, and how. None of the texts is empty.
struct ModelOptions {
    std::optional<std::string> model;   // path of the model file, "-" for the standard input; not needed with a cache
    std::vector<std::string> shapes;    // of its inputs, as `ParseShapes` takes them
    std::optional<std::string> device;  // the SDK's own choice unless given
    std::optional<std::string> cache;   // path of the cache file
    bool makeCache = false;
    KeyOptions key;
    std::optional<std::string> host;    // path of the host program that runs the model
    bool remote = false;                // the host program beside this one
    std::optional<double> timeout;      // seconds that a call may wait for the host
    std::optional<double> loadTimeout;  // the same for the load; as `timeout` unless given
    std::optional<uint32_t> logLevel;

    // Path of the host program; no value if the model runs in this process.
    std::optional<std::string> HostProgram() const;

    bool IsEncrypted() const { return key.key || key.file; }
};

// MODEL, the command's `own` arguments, and the options about the model.
std::vector<Argument> ArgumentsForModel(ModelOptions& options, const std::vector<Argument>& own);

// --shape, of those and of other commands.
Argument ArgumentForShapes(std::vector<std::string>& shapes);

// Throws `WrongUsage` for an empty text and for a combination that means nothing.
void CheckUsage(const ModelOptions& options);

}  // namespace Orvane::Cli
