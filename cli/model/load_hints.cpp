#include "cli/model/load_hints.h"

#include "platform/file_error.h"
#include "platform/input_file.h"
#include "platform/path.h"

#include <filesystem>
#include <string_view>
#include <system_error>
#include <tuple>

namespace Orvane::Cli {
namespace {

// What is wrong with a file that cannot be read.
std::optional<std::string> WhyUnreadable(const std::string& path) {
    try {
        Platform::OpenInputFile(path);
        return std::nullopt;
    } catch (const Platform::FileError& error) {
        return error.what();
    }
}

bool BeginsLikeXml(const std::string& path) {
    std::ifstream file = Platform::OpenInputFile(path);
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
    if (options.IsEncrypted() && BeginsLikeXml(*options.model)) {
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
    if (options.IsEncrypted()) {
        return "Check --key: it must be the key that the model, and its .bin file, were encrypted with. An encrypted "
               "model is an .xml with its .bin, or an .onnx.";
    }
    return "Check MODEL: OpenVINO reads .xml with its .bin beside it, .onnx, .tflite, .pb and .pdmodel. An encrypted "
           "one needs --key.";
}

// Where a host process is to blame, and not the model.
std::optional<std::string> HostHint(const ModelOptions& options, const Status& status, const HostEnd& end) {
    const std::string program = options.HostProgram().value_or("the host program");
    const std::string systemReason = std::system_category().message(status.code);
    switch (status.reason) {
        case FailureReasonHostEnded:
            if (end.cause == HostEndCauseTimeLimit) {
                return "The model was not loaded in time. " + HostEndHint(end);
            }
            return program + " ended before the model was loaded. " + HostEndHint(end) +
                   " If it is the host program, orvane_host, this model ended it: see what happens without --host and "
                   "--remote.";
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

std::string HostEndHint(const HostEnd& end) {
    // Signals are Linux's and large exit values are Windows'; neither has the other's.
    static constexpr std::tuple<HostEndCause, uint32_t, const char*> kMeanings[] = {
        {HostEndCauseExit, 127, "a library that it needs was not found"},
        {HostEndCauseExit, 0xC0000135, "a DLL that it needs was not found"},
        {HostEndCauseSignal, 4, "the processor lacks an instruction that the runtime used"},
        {HostEndCauseExit, 0xC000001D, "the processor lacks an instruction that the runtime used"},
        {HostEndCauseSignal, 6, "it gave up, for instance because there was not enough memory"},
        {HostEndCauseSignal, 9, "somebody killed it, or the system did when memory ran out"},
        {HostEndCauseExit, 0xC0000017, "there was not enough memory"},
    };
    std::string hint = "How it ended: " + (end.text.empty() ? "unknown" : end.text);
    for (const auto& [cause, value, meaning] : kMeanings) {
        hint += cause == end.cause && value == end.value ? std::string(", ") + meaning : "";
    }
    return hint + (end.cause == HostEndCauseTimeLimit ? "; --timeout SECONDS gives it more." : ".");
}

std::vector<std::string> LoadHints(const ModelOptions& options, const std::optional<std::string>& key,
                                   const Status& status, const HostEnd& hostEnd) {
    if (const std::optional<std::string> hint = HostHint(options, status, hostEnd)) {
        return {*hint};
    }
    if (options.framework != FrameworkTypeOpenvino && options.framework != FrameworkTypeOpenvinoPlain) {
        return {"Framework " + std::to_string(options.framework) + " is not in this build: leave --framework out."};
    }
    if (key && key->size() > 4) {
        return {"A key has at most 4 bytes; --key has " + std::to_string(key->size()) + "."};
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
