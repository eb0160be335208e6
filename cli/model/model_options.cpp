#include "cli/model/model_options.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "platform/process.h"

namespace Orvane::Cli {
namespace {

// As milliseconds they fit into 32 bits.
constexpr ArgumentRules kSeconds = {.least = 0.001, .most = 4'000'000};

}  // namespace

std::optional<std::string> ModelOptions::HostProgram() const {
    return remote ? Platform::ProgramBeside("orvane_host") : host;
}

std::vector<Argument> ArgumentsForModel(ModelOptions& options, const std::vector<Argument>& own) {
    const std::vector<Argument> model = {
        {"MODEL", &options.model, "",
         "The model: .xml (with its .bin beside it), .onnx, .tflite, .pb, .pdmodel, or the folder of a SavedModel; "
         "- reads one file from the standard input. Not needed if the file of --cache exists",
         kFile}};
    const std::vector<Argument> about = {
        ArgumentForShapes(options.shapes),
        {"--device", &options.device, "NAME", "Run the model on this device (default: CPU); orvane devices lists them"},
        {"--cache", &options.cache, "FILE", "Load the compiled model from this file if it exists, instead of MODEL",
         kFile},
        {"--make-cache",
         &options.makeCache,
         "",
         "Write the file of --cache if it does not exist",
         {.needs = "--cache"}},
    };
    const std::vector<Argument> host = {
        {"--remote", &options.remote, "", "Run the model in a host process: orvane_host, in the folder of orvane"},
        {"--host",
         &options.host,
         "PROGRAM",
         "Run the model in a host process of this program",
         {.excludes = "--remote", .offer = Offer::Files}},
        {"--timeout", &options.timeout, "SECONDS", "End the host process if a call takes longer (default: no limit)",
         kSeconds},
        {"--load-timeout", &options.loadTimeout, "SECONDS",
         "End the host process if the load takes longer (default: as --timeout)", kSeconds},
        {"--log-level", &options.logLevel, "N", "Show log lines of this level and above; errors have level 6"},
    };
    const auto key = ArgumentsForKey(options.key, "The model files are encrypted with this key of 1 to 4 bytes");
    return Joined({model, own, about, key, host});
}

Argument ArgumentForShapes(std::vector<std::string>& shapes) {
    return {"--shape", &shapes, "WHICH=DIMS",
            "Set the shape of this input (index or name), as in 0=1,3,640,640; once per input"};
}

void CheckUsage(const ModelOptions& options) {
    if (!options.model && !options.cache) {
        throw WrongUsage("MODEL is missing; only --cache can replace it");
    }
    if (options.cache && IsStandard(*options.cache)) {
        throw WrongUsage("--cache needs a file; - is not possible here");
    }
    if ((options.timeout || options.loadTimeout) && !options.HostProgram()) {
        throw WrongUsage(
            "--timeout and --load-timeout need --remote or --host: a call in this process cannot be ended");
    }
    if (!options.shapes.empty() && (options.cache || options.IsEncrypted())) {
        throw WrongUsage(
            "--shape works with a plain MODEL only: set the shapes with orvane reshape, "
            "then encrypt the result or make the cache from it");
    }
}

}  // namespace Orvane::Cli
