#include "sdk/c/options.h"

#include "platform/file.h"
#include "platform/last_error.h"
#include "platform/path.h"
#include "platform/process.h"
#include "sdk/c/utf8.h"

#include <filesystem>
#include <string_view>
#include <system_error>

namespace Orvane::C {

namespace {

constexpr size_t kLongestText = 32'767;
constexpr int32_t kNoSuchFile = 2;  // the number on both systems

void CheckCombination(const LoadRequest& request) {
    const InterpreterParams& params = request.params;
    if (params.modelPath.empty() && params.openvinoCachePath.empty()) {
        throw BadArgument("there is neither a model path nor a cache path: name the file to load");
    }
    if (params.openvinoMakeCache && params.openvinoCachePath.empty()) {
        throw BadArgument("the options ask for a new cache file, but there is no cache path: set it");
    }
    if (const uint32_t limit = std::max(request.timeLimit, request.loadTimeLimit); limit != 0 && params.host.empty()) {
        throw BadArgument("there is a time limit of " + std::to_string(limit) +
                          " ms, but a model in this process cannot be ended: set a host program, or no limit");
    }
    // A host process receives a key up to its first zero only.
    const auto& key = params.openvinoMakeEncryptedKey;
    const auto* const zero = std::find(key.begin(), key.end(), uint8_t{0});
    if (!params.host.empty() && std::any_of(zero, key.end(), [](uint8_t byte) { return byte != 0; })) {
        throw Refused(
            "a host process cannot receive a key with a zero byte before other bytes: "
            "encrypt the model with another key, or run it in this process");
    }
}

}  // namespace

void CheckStructSize(uint64_t size, size_t first, const std::string& name) {
    constexpr uint64_t kLargest = 4'096;  // limits how much is read if the size is wrong
    if (size < first || size > kLargest || size % alignof(uint64_t) != 0) {
        throw BadArgument("the size of " + name + " is set to " + std::to_string(size) +
                          " bytes: set it to the size of the structure");
    }
}

std::string ReadText(const char* text, const std::string& name) {
    if (text == nullptr) {
        return {};
    }
    const auto* const end = static_cast<const char*>(std::memchr(text, 0, kLongestText + 1));
    if (end == nullptr) {
        throw BadArgument(name + " is longer than " + std::to_string(kLongestText) + " bytes: pass a shorter one");
    }
    if (!IsUtf8({text, end})) {
        throw BadArgument(name + " is not UTF-8: convert the text, or rename the file");
    }
    return {text, end};
}

std::array<uint8_t, 4> ReadKey(const uint8_t* key, uint32_t size) {
    std::array<uint8_t, 4> bytes{};
    if (size == 0 || size > bytes.size()) {
        throw BadArgument("the key has " + std::to_string(size) + " bytes: pass 1 to 4");
    }
    if (key == nullptr) {
        throw BadArgument("the key has " + std::to_string(size) + " bytes, but its address is null: pass it");
    }
    std::copy_n(key, size, bytes.begin());
    return bytes;
}

void RequireFile(const std::string& path, const std::string& name) {
    const std::filesystem::path file = Platform::PathFromUtf8(path);
    if (Platform::IsMissing(file)) {
        throw Failure(ORVANE_SYSTEM, "there is no " + name + " " + path + ": check its name and folder", kNoSuchFile);
    }
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::none) {  // for instance, its name is too long
        const std::string reason = error.category() == std::system_category()
                                       ? Platform::SystemMessage(static_cast<uint32_t>(error.value()))
                                       : error.message();
        throw Failure(ORVANE_SYSTEM, "cannot read the " + name + " " + path + ": " + reason, error.value());
    }
    if (std::filesystem::is_other(status)) {
        throw Refused(path + " is not an ordinary file: models and caches are read from files");
    }
}

LoadRequest ReadOptions(const orvane_options* given) {
    constexpr size_t kFirstSize = 80;
    const auto options = ReadStruct(given, kFirstSize, "the options");
    LoadRequest request;
    InterpreterParams& params = request.params;
    params.framework = FrameworkTypeOpenvino;
    params.modelPath = ReadText(options.model_path, "the model path");
    params.openvinoDevice = ReadText(options.device, "the device");
    params.openvinoCachePath = ReadText(options.cache_path, "the cache path");
    params.openvinoMakeCache = options.make_cache != 0;
    if (options.host_program != nullptr) {
        params.host = ReadText(options.host_program, "the host program");
        params.host = params.host.empty() ? Platform::ProgramBesideThisCode("orvane_host") : params.host;
    }
    if (options.key != nullptr || options.key_size != 0) {
        params.openvinoMakeEncrypted = true;
        params.openvinoMakeEncryptedKey = ReadKey(options.key, options.key_size);
    }
    request.timeLimit = options.time_limit_ms;
    request.loadTimeLimit = options.load_time_limit_ms != 0 ? options.load_time_limit_ms : options.time_limit_ms;
    request.progress = options.progress;
    request.progressUser = options.progress_user;
    CheckCombination(request);
    return request;
}

void RequireFiles(const InterpreterParams& params) {
    const std::string& cache = params.openvinoCachePath;
    if (!cache.empty() && !Platform::IsMissing(Platform::PathFromUtf8(cache))) {
        RequireFile(cache, "cache file");
        return;  // the model files are not read
    }
    if (params.modelPath.empty()) {
        throw Failure(ORVANE_SYSTEM,
                      "there is no cache file " + cache + ": name the model file too, to load that and write the cache",
                      kNoSuchFile);
    }
    RequireFile(params.modelPath, "model file");
    const std::string weights = Platform::WeightsFileOf(params.modelPath);
    const bool hasWeights = params.modelPath.ends_with(".xml") || params.openvinoMakeEncrypted;
    if (hasWeights && !Platform::IsMissing(Platform::PathFromUtf8(weights))) {
        RequireFile(weights, "weights file");
    }
}

void MakePathsAbsolute(InterpreterParams& params) {
    for (std::string* path : {&params.modelPath, &params.openvinoCachePath, &params.host}) {
        const std::filesystem::path given = Platform::PathFromUtf8(*path);
        // Windows looks for a program without a folder in the folder of the application first.
        if (given.empty() || given.is_absolute() || (path == &params.host && !given.has_parent_path())) {
            continue;
        }
        std::error_code error;
        const std::filesystem::path absolute = std::filesystem::absolute(given, error);
        const bool isCache = path == &params.openvinoCachePath;  // may be made later
        // False if the path has become too long.
        if (std::filesystem::exists(isCache ? absolute.parent_path() : absolute, error)) {
            *path = Platform::Utf8FromPath(absolute);
        }
    }
}

}  // namespace Orvane::C
