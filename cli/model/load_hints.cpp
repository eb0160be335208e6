#include "cli/model/load_hints.h"

#include "cli/failure.h"
#include "platform/file.h"
#include "platform/path.h"

#include <orvane/model_file.hpp>

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <system_error>

namespace Orvane::Cli {
namespace {

// Returns why a file cannot be read. Does not open a pipe, because that would wait for the pipe's writer.
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

// Returns true if the SDK reads the cache file and not the model. There is a cache file or a model (`CheckUsage`).
bool IsCacheRead(const ModelOptions& options) {
    return !options.model || (options.cache && !Platform::IsMissing(Platform::PathFromUtf8(*options.cache)));
}

// Returns a fault of the cache file or the model files if it is certain.
std::optional<std::string> CertainHint(const ModelOptions& options) {
    if (IsCacheRead(options)) {
        const std::optional<std::string> reason = WhyUnreadable(*options.cache);
        return reason ? std::optional("The cache cannot be read: " + *reason + ".") : std::nullopt;
    }
    std::error_code ignored;
    if (std::filesystem::is_directory(Platform::PathFromUtf8(*options.model), ignored)) {
        return std::nullopt;  // a SavedModel
    }
    if (const std::optional<std::string> reason = WhyUnreadable(*options.model)) {
        return "The model cannot be read: " + *reason + ".";
    }
    if (options.model->ends_with(".xml")) {
        const std::string weights = Platform::WeightsFileOf(*options.model);
        if (Platform::IsMissing(Platform::PathFromUtf8(weights))) {
            return "Its weights are missing: put " + weights + " beside the model.";
        }
        if (const std::optional<std::string> reason = WhyUnreadable(weights)) {
            return "Its weights cannot be read: " + *reason + ".";
        }
    }
    if (options.IsEncrypted() && BeginsLikeXml(*options.model)) {
        return *options.model + " is not encrypted: leave --key out.";
    }
    return std::nullopt;
}

// The runtime has these names for several devices and does not list them.
bool IsVirtualDevice(const std::string& device) {
    const std::string kind = device.substr(0, device.find_first_of(":("));
    return kind == "AUTO" || kind == "MULTI" || kind == "HETERO" || kind == "BATCH";
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::optional<std::string> DeviceHint(const std::optional<std::string>& given) {
    if (!given) {
        return std::nullopt;
    }
    const std::string device = DeviceName(given);
    if (IsVirtualDevice(device)) {
        return device + " means several devices, and a model runs on one: name one that orvane devices lists.";
    }
    const std::vector<std::string> names = AcceptedNames(orvane::Devices());
    if (Contains(names, device)) {
        return std::nullopt;
    }
    std::string listed;
    for (const std::string& name : names) {
        listed += (listed.empty() ? "" : ", ") + name;
    }
    return "This machine has no device " + device + ", only " + listed + ".";
}

bool HasOneOf(const std::string& text, std::initializer_list<const char*> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [&](const char* part) { return text.find(part) != std::string::npos; });
}

// For a failure with plain model files, whose format may be right. Only the runtime's text distinguishes an unknown
// format from an unknown operator.
std::string PlainHint(const std::string& model, const std::string& text) {
    if (HasOneOf(text, {"No translator found", "No conversion rule found", "doesn't contain the operation",
                        "OpConversionFailure"})) {
        return "The file was read, but it has operators that this OpenVINO does not support, or not in this form. "
               "They are named above: export the model with others.";
    }
    if (HasOneOf(text, {"Unable to read the model"})) {
        return "OpenVINO reads .xml with its .bin beside it, .onnx, .tflite, .pb and .pdmodel. "
               "An encrypted MODEL needs --key.";
    }
    try {
        const orvane::FileTensors tensors = orvane::DescribeFile(model);
        const bool isDynamic = std::any_of(tensors.inputs.begin(), tensors.inputs.end(),
                                           [](const orvane::Tensor& input) { return input.IsDynamic(); });
        return isDynamic
                   ? "The file was read, but not compiled. With fixed shapes that may work: give them with --shape."
                   : "The file was read, but not compiled for this device; the message above is the runtime's.";
    } catch (const orvane::Error&) {
        return model +
               " begins like a model, but what follows is damaged, or belongs to another release: compare its size "
               "with that of the original, and copy it again with the files beside it.";
    }
}

std::string LikelyHint(const ModelOptions& options, const std::string& text) {
    if (IsCacheRead(options)) {
        return "The model came from the cache file " + *options.cache +
               ". If that is damaged, or from another version or machine, delete it and make it again: give MODEL "
               "and --make-cache.";
    }
    if (options.IsEncrypted()) {
        return "--key must be the key that the model, and its .bin file, were encrypted with. An encrypted model is "
               "an .xml with its .bin, or an .onnx.";
    }
    return PlainHint(*options.model, text);
}

}  // namespace

std::vector<std::string> AcceptedNames(const std::vector<orvane::Device>& devices) {
    std::vector<std::string> names;
    for (const orvane::Device& device : devices) {
        for (const std::string& name : {device.name.substr(0, device.name.find('.')), device.name}) {
            if (!Contains(names, name)) {
                names.push_back(name);
            }
        }
    }
    return names;
}

std::string DeviceName(const std::optional<std::string>& given) {
    const std::string name = given.value_or("");
    std::string capitals = name;
    for (char& letter : capitals) {
        letter = letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    }
    // All devices of today have names in capitals, so this rarely asks the runtime.
    const bool isListed = name != capitals && Contains(AcceptedNames(orvane::Devices()), name);
    return isListed ? name : capitals;
}

void RefuseFolder(const ModelOptions& options) {
    const std::filesystem::path folder = Platform::PathFromUtf8(options.model.value_or(""));
    std::error_code ignored;
    if (IsCacheRead(options) || !std::filesystem::is_directory(folder, ignored) ||
        std::filesystem::exists(folder / "saved_model.pb", ignored)) {
        return;
    }
    std::string found;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        const std::string ending = Platform::Utf8FromPath(entry.path().extension());
        if (ending == ".xml" || ending == ".onnx" || ending == ".tflite" || ending == ".pb" || ending == ".pdmodel") {
            found += found.empty() ? " It holds " : ", ";
            found += Platform::Utf8FromPath(entry.path().filename());
        }
    }
    throw Failure(*options.model + " is a folder without saved_model.pb, so it is not a SavedModel of TensorFlow",
                  {"Name the file of the model." + found + (found.empty() ? "" : ".")});
}

std::vector<std::string> SystemHints(const orvane::Error& error) {
    const std::error_code code(error.GetSystemError(), std::system_category());
    const std::filesystem::path sharedMemory = "/dev/shm";
    std::error_code ignored;
    if (error.GetReason() != orvane::Reason::System || code != std::errc::no_space_on_device ||
        !HasOneOf(error.what(), {"CreateFileMapping error", "CreateEvent"}) ||
        !std::filesystem::is_directory(sharedMemory, ignored)) {
        return {};  // the error is clear without a hint
    }
    const std::filesystem::space_info space = std::filesystem::space(sharedMemory, ignored);
    constexpr std::uintmax_t kMegabyte = 1'000'000;
    return {"/dev/shm has " + std::to_string(space.available / kMegabyte) + " MB left of " +
            std::to_string(space.capacity / kMegabyte) +
            ", and a host process needs up to 22 MB there. Give a container more, as in --shm-size=256m, or run "
            "without --remote and --host."};
}

std::vector<std::string> LoadHints(const ModelOptions& options, const orvane::Error& error) {
    switch (error.GetReason()) {
        case orvane::Reason::HostEnded:
            return {"Try without --remote and --host, or with a longer --load-timeout."};
        case orvane::Reason::System:
            return SystemHints(error);
        case orvane::Reason::BadArgument:
        case orvane::Reason::NoMemory:
            return {};  // the error is clear without a hint
        default:
            break;
    }
    // The SDK refuses these before the load. The reason `Refused` does not show that: most failures in a host process
    // have it too.
    const std::string text = error.what();
    if (HasOneOf(text, {"is not an ordinary file", "a key with a zero byte"})) {
        return {};  // the error is clear without a hint
    }
    if (const std::optional<std::string> hint = DeviceHint(options.device)) {
        return {*hint};
    }
    const std::optional<std::string> certain = CertainHint(options);
    return {certain ? *certain : LikelyHint(options, text)};
}

}  // namespace Orvane::Cli
