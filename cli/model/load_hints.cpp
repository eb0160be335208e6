#include "cli/model/load_hints.h"

#include "cli/failure.h"
#include "cli/files/input_file.h"
#include "platform/path.h"

#include <filesystem>
#include <string_view>
#include <system_error>

namespace Orvane::Cli {
namespace {

// What is wrong with a file that cannot be read.
std::optional<std::string> WhyUnreadable(const std::string& path) {
    try {
        OpenInputFile(path);
        return std::nullopt;
    } catch (const Failure& failure) {
        return failure.what();
    }
}

bool BeginsLikeXml(const std::string& path) {
    std::ifstream file = OpenInputFile(path);
    return file.get() == '<';
}

// The file with the weights of an .xml; ".xml" alone has ".bin" beside it, though as a path it has no extension.
std::optional<std::filesystem::path> WeightsOf(const std::string& model) {
    constexpr std::string_view kEnding = ".xml";
    if (!model.ends_with(kEnding)) {
        return std::nullopt;
    }
    return Platform::PathFromUtf8(model.substr(0, model.size() - kEnding.size()) + ".bin");
}

bool IsCacheRead(const ModelOptions& options) {
    return options.cache && !Platform::IsMissing(Platform::PathFromUtf8(*options.cache));
}

// What is certainly wrong with the cache file or the model files.
std::optional<std::string> CertainHint(const ModelOptions& options) {
    if (IsCacheRead(options)) {
        const std::optional<std::string> reason = WhyUnreadable(*options.cache);
        return reason ? std::optional("The cache cannot be read: " + *reason + ".") : std::nullopt;
    }
    if (!options.model) {
        return "There is no cache file " + *options.cache + " yet: give MODEL, with --make-cache to write it.";
    }
    if (const std::optional<std::string> reason = WhyUnreadable(*options.model)) {
        return "The model cannot be read: " + *reason + ".";
    }
    const std::optional<std::filesystem::path> weights = WeightsOf(*options.model);
    if (weights && Platform::IsMissing(*weights)) {
        return "Its weights are missing: put " + Platform::Utf8FromPath(*weights) + " beside the model.";
    }
    if (options.key && BeginsLikeXml(*options.model)) {
        return *options.model + " is not encrypted: leave --key out.";
    }
    return std::nullopt;
}

std::string LikelyHint(const ModelOptions& options) {
    if (IsCacheRead(options)) {
        return "The model came from the cache file " + *options.cache +
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

// Where a host process is to blame, and not the model.
std::optional<std::string> HostHint(const ModelOptions& options, const Status& status) {
    const std::string program = options.HostProgram().value_or("the host program");
    const std::string systemReason = std::system_category().message(status.code);
    switch (status.reason) {
        case FailureReasonHostEnded:
            return program + " ended before the model was loaded. If it is the host program, orvane_host, this model " +
                   "ended it: see what happens without --host and --remote.";
        case FailureReasonHostStart:
            return program + " cannot be started: " + systemReason + ". It must be the host program, orvane_host: " +
                   "--host takes its path, --remote finds it beside orvane.";
        case FailureReasonSystem:
            return "The system cannot give what a host process needs: " + systemReason + ".";
        default:
            return std::nullopt;
    }
}

}  // namespace

std::vector<std::string> LoadHints(const ModelOptions& options, const Status& status) {
    if (const std::optional<std::string> hint = HostHint(options, status)) {
        return {*hint};
    }
    if (options.framework != FrameworkTypeOpenvino && options.framework != FrameworkTypeOpenvinoPlain) {
        return {"Framework " + std::to_string(options.framework) + " is not in this build: leave --framework out."};
    }
    if (options.key && options.key->size() > 4) {
        return {"A key has at most 4 bytes; --key has " + std::to_string(options.key->size()) + "."};
    }
    if (const std::optional<std::string> hint = CertainHint(options)) {
        return {*hint};
    }
    if (options.device && options.device != "CPU") {
        return {"If this machine has no device " + *options.device +
                    ", leave --device out: the model then runs on the CPU. Otherwise:",
                LikelyHint(options)};
    }
    return {LikelyHint(options)};
}

}  // namespace Orvane::Cli
