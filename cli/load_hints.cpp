#include "cli/load_hints.h"

#include "cli/failure.h"
#include "cli/input_file.h"
#include "platform/path.h"

#include <orvane/host.h>

#include <filesystem>

namespace Orvane::Cli {
namespace {

// Empty when the file can be read; else what is wrong with it.
std::string WhyUnreadable(const std::string& path) {
    try {
        OpenInputFile(path);
        return "";
    } catch (const Failure& failure) {
        return failure.what();
    }
}

bool BeginsLikeXml(const std::string& path) {
    std::ifstream file = OpenInputFile(path);
    return file.get() == '<';
}

bool IsCacheRead(const ModelOptions& options) {
    return !options.cache.empty() && !Platform::IsMissing(Platform::PathFromUtf8(options.cache));
}

// What is certainly wrong with the cache file or the model files; empty when nothing is seen to be.
std::string CertainHint(const ModelOptions& options) {
    if (!IsCacheRead(options) && options.model.empty()) {
        return "There is no cache file " + options.cache + " yet: give MODEL, with --make-cache to write it.";
    }
    const std::string unreadable = WhyUnreadable(IsCacheRead(options) ? options.cache : options.model);
    if (!unreadable.empty()) {
        return (IsCacheRead(options) ? "The cache cannot be read: " : "The model cannot be read: ") + unreadable + ".";
    }
    if (IsCacheRead(options)) {
        return "";
    }
    std::filesystem::path weights = Platform::PathFromUtf8(options.model);
    if (weights.extension() == ".xml" && Platform::IsMissing(weights.replace_extension("bin"))) {
        return "Its weights are missing: put " + Platform::Utf8FromPath(weights) + " beside the model.";
    }
    if (options.key && BeginsLikeXml(options.model)) {
        return options.model + " is not encrypted: leave --key out.";
    }
    return "";
}

std::string LikelyHint(const ModelOptions& options) {
    if (IsCacheRead(options)) {
        return "The model came from the cache file " + options.cache +
               ". If that is damaged, or from another version or machine, delete it and make it again: give MODEL "
               "and --make-cache.";
    }
    if (options.key) {
        return "Check --key: it must be the key that the model, and its .bin file, were encrypted with. An encrypted "
               "model is an .xml with its .bin, or an .onnx.";
    }
    return "Check MODEL: OpenVINO reads .xml with its .bin beside it, .onnx, .tflite, .pb and .pdmodel. An encrypted "
           "one needs --key.";
}

// Where a host process is to blame, and not the model; empty where it is not.
std::string HostHint(const ModelOptions& options, const Status& status) {
    const std::string program = options.HostProgram();
    if (!program.empty() && status.message == kHostExit) {
        return program +
               " ended before the model was loaded. If it is the host program, orvane_host, this model ended it: " +
               "see what happens without --host and --remote.";
    }
    if (program.empty() || status.code <= 0) {  // only the system's error numbers are positive
        return "";
    }
    const std::string reason = std::system_category().message(status.code);
    if (status.message == "CreateProcessAsUser error") {
        return program + " cannot be started: " + reason + ". It must be the host program, orvane_host: --host " +
               "takes its path, --remote finds it beside orvane.";
    }
    return "The system cannot give what a host process needs: " + reason + ".";
}

}  // namespace

std::vector<std::string> LoadHints(const ModelOptions& options, const Status& status) {
    if (const std::string hint = HostHint(options, status); !hint.empty()) {
        return {hint};
    }
    if (options.framework != FrameworkTypeOpenvino && options.framework != FrameworkTypeOpenvinoPlain) {
        return {"Framework " + std::to_string(options.framework) + " is not in this build: leave --framework out."};
    }
    if (options.key && options.key->size() > 4) {
        return {"A key has at most 4 bytes; --key has " + std::to_string(options.key->size()) + "."};
    }
    if (const std::string hint = CertainHint(options); !hint.empty()) {
        return {hint};
    }
    if (!options.device.empty() && options.device != "CPU") {
        return {"If this machine has no device " + options.device +
                    ", leave --device out: the model then runs on the CPU. Otherwise:",
                LikelyHint(options)};
    }
    return {LikelyHint(options)};
}

}  // namespace Orvane::Cli
