#include "cli/model/load_hints.h"

#include "platform/file_error.h"
#include "platform/input_file.h"
#include "platform/path.h"

#include <filesystem>
#include <string_view>

namespace Orvane::Cli {
namespace {

// What is wrong with a file that cannot be read. A pipe is not opened: it would be waited for.
std::optional<std::string> WhyUnreadable(const std::string& path) {
    std::error_code ignored;
    if (std::filesystem::is_other(std::filesystem::status(Platform::PathFromUtf8(path), ignored))) {
        return "only ordinary files are read";
    }
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
    if (weights) {
        if (const std::optional<std::string> reason = WhyUnreadable(Platform::Utf8FromPath(*weights))) {
            return "Its weights cannot be read: " + *reason + ".";
        }
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

}  // namespace

std::vector<std::string> LoadHints(const ModelOptions& options, const orvane::Error& error) {
    switch (error.GetReason()) {
        case orvane::Reason::HostEnded:
            return {
                "If it is the host program, orvane_host, this model ended it: see what happens without --host and "
                "--remote, or, when the time was too short, with a longer --timeout."};
        case orvane::Reason::System:
        case orvane::Reason::BadArgument:
        case orvane::Reason::NoMemory:
            return {};  // the error says it all
        default:
            break;
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
