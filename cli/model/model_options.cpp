#include "cli/model/model_options.h"

#include "cli/failure.h"
#include "platform/process.h"

namespace Orvane::Cli {
namespace {

// Throws unless the seconds, as milliseconds, fit into 32 bits.
void CheckSeconds(const std::string& option, const std::optional<double>& given, bool hasHost) {
    constexpr double kLongest = 4'000'000;
    const double seconds = given.value_or(1);
    const bool isInRange = seconds >= 0.001 && seconds <= kLongest;  // false also for NaN
    if (!isInRange) {
        throw WrongUsage(option + " takes a number of seconds from 0.001 to 4000000");
    }
    if (given && !hasHost) {
        throw WrongUsage(option + " needs --remote or --host: a call in this process cannot be ended");
    }
}

}  // namespace

std::optional<std::string> ModelOptions::HostProgram() const {
    return remote ? Platform::ProgramBeside("orvane_host") : host;
}

std::vector<Argument> ArgumentsForModel(ModelOptions& options, const std::vector<Argument>& own) {
    const std::vector<Argument> model = {
        {"MODEL",
         &options.model,
         "",
         "The model: .xml (with its .bin beside it), .onnx, .tflite, .pb, .pdmodel, or the folder of a SavedModel; "
         "- reads one file from the standard input. Not needed if the file of --cache exists",
         {.offer = Offer::Files}}};
    const std::vector<Argument> about = {
        ArgumentForShapes(options.shapes),
        {"--device", &options.device, "NAME", "Run the model on this device (default: CPU); see orvane devices"},
        {"--cache",
         &options.cache,
         "FILE",
         "Load the compiled model from this file if it exists, instead of MODEL",
         {.offer = Offer::Files}},
        {"--make-cache", &options.makeCache, "", "Write the file of --cache if it does not exist"},
    };
    const std::vector<Argument> host = {
        {"--remote", &options.remote, "", "Run the model in a host process, orvane_host beside this program"},
        {"--host",
         &options.host,
         "PROGRAM",
         "Run the model in a host process of this program",
         {.offer = Offer::Files}},
        {"--timeout", &options.timeout, "SECONDS", "End the host process if a call takes longer (default: no limit)"},
        {"--load-timeout", &options.loadTimeout, "SECONDS",
         "End the host process if the load takes longer (default: as --timeout)"},
        {"--log-level", &options.logLevel, "N", "Show log lines of this level and above; errors have level 6"},
    };
    const auto key = ArgumentsForKey(options.key, "The model files are encrypted with this key of 1 to 4 bytes");
    return Joined(Joined(Joined(Joined(model, own), about), key), host);
}

Argument ArgumentForShapes(std::vector<std::string>& shapes) {
    return {"--shape", &shapes, "WHICH=DIMS",
            "Set the shape of this input (index or name), as in 0=1,3,640,640; once per input"};
}

void CheckUsage(const ModelOptions& options) {
    RefuseEmpty("MODEL", options.model, "the path of a model file");
    RefuseEmpty("--device", options.device, "the name of a device");
    RefuseEmpty("--cache", options.cache, "the path of a cache file");
    RefuseEmpty("--host", options.host, "the path of a host program");
    if (options.remote && options.host) {
        throw WrongUsage("give --remote or --host, not both: each names the host program");
    }
    if (!options.model && !options.cache) {
        throw WrongUsage("MODEL is missing; only --cache can replace it");
    }
    CheckSeconds("--timeout", options.timeout, options.HostProgram().has_value());
    CheckSeconds("--load-timeout", options.loadTimeout, options.HostProgram().has_value());
    if (!options.shapes.empty() && (options.cache || options.IsEncrypted())) {
        throw WrongUsage(
            "--shape works with a plain MODEL only: write one with the shapes with orvane reshape, then encrypt it or "
            "make the cache from it");
    }
    if (options.makeCache && !options.cache) {
        throw WrongUsage("--make-cache needs --cache FILE, the file to write");
    }
}

}  // namespace Orvane::Cli
