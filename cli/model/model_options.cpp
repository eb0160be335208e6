#include "cli/model/model_options.h"

#include "cli/failure.h"

#include <orvane/host.h>

namespace Orvane::Cli {

std::optional<std::string> ModelOptions::HostProgram() const {
    return remote ? HostPathBesideProgram() : host;
}

std::vector<Argument> ArgumentsForModel(ModelOptions& options) {
    const std::vector<Argument> model = {
        {"MODEL", &options.model, "",
         "Model file: .xml with its .bin beside it, .onnx, .tflite, .pb, .pdmodel, or the folder of a SavedModel; may "
         "be left out when --cache names an existing file"},
        ArgumentForShapes(options.shapes),
        {"--device", &options.device, "D",
         "Device that runs the model, one that orvane devices lists (CPU unless given)"},
        {"--framework", &options.framework, "N", "Number of the inference framework (9 unless given)"},
        {"--cache", &options.cache, "FILE", "File for the compiled model; when it exists, MODEL is not read"},
        {"--make-cache", &options.makeCache, "", "Write the cache file if it does not exist yet"},
    };
    const std::vector<Argument> host = {
        {"--host", &options.host, "PATH", "Run the model in a host process of this program"},
        {"--remote", &options.remote, "", "Run it in a host process of the program orvane_host beside this one"},
        {"--timeout", &options.timeout, "SECONDS",
         "End the host process when a call takes longer (no limit unless given)"},
        {"--log-level", &options.logLevel, "L", "Log lines of this level and above go to standard error"},
    };
    const auto key = ArgumentsForKey(options.key, "The model files are encrypted with this key of up to 4 bytes");
    return Joined(Joined(model, key), host);
}

Argument ArgumentForShapes(std::vector<std::string>& shapes) {
    return {"--shape", &shapes, "WHICH=DIMS",
            "Dimensions of the input with this index or name, as in 0=1,3,640,640; once for each input"};
}

void CheckUsage(const ModelOptions& options) {
    RefuseEmpty("MODEL", options.model, "the path of a model file");
    RefuseEmpty("--device", options.device, "the name of a device");
    RefuseEmpty("--cache", options.cache, "the path of a cache file");
    RefuseEmpty("--host", options.host, "the path of a host program");
    const bool hasOpenvinoOptions = options.device || options.cache || options.makeCache || options.IsEncrypted();
    if (options.framework != FrameworkTypeOpenvino && hasOpenvinoOptions) {
        throw WrongUsage("--device, --cache, --make-cache and --key go with framework 9 only");
    }
    if (options.remote && options.host) {
        throw WrongUsage("--remote and --host exclude each other: both name the host program");
    }
    if (!options.model && !options.cache) {
        throw WrongUsage("MODEL is missing; it may be left out only when --cache names a cache file");
    }
    constexpr double kLongestTimeout = 4'000'000;  // seconds, as milliseconds in 32 bits
    const double seconds = options.timeout.value_or(1);
    const bool isInRange = seconds >= 0.001 && seconds <= kLongestTimeout;  // and a number at all
    if (!isInRange) {
        throw WrongUsage("--timeout takes a number of seconds from 0.001 to 4000000");
    }
    if (options.timeout && !options.HostProgram()) {
        throw WrongUsage("--timeout needs --remote or --host: what runs in this process cannot be ended");
    }
    if (!options.shapes.empty() && (options.cache || options.IsEncrypted())) {
        throw WrongUsage(
            "--shape goes with a plain MODEL only: write one with the shapes by orvane reshape, and encrypt that "
            "or make the cache from it");
    }
    if (options.makeCache && !options.cache) {
        throw WrongUsage("--make-cache needs --cache FILE, the file to write");
    }
}

}  // namespace Orvane::Cli
