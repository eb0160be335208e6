#include "sdk/c/options.h"

#include "core/weights_file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "sdk/c/utf8.h"

#include <filesystem>
#include <string_view>
#include <system_error>

namespace Orvane::C {

namespace {

constexpr size_t kLongestText = 32'767;

void CheckCombination(const LoadRequest& request) {
    const InterpreterParams& params = request.params;
    if (params.openvinoMakeCache && params.openvinoCachePath.empty()) {
        throw BadArgument("make_cache is set but there is no cache_path: name the file to write");
    }
    if (request.timeLimit != 0 && params.host.empty()) {
        throw BadArgument(
            "time_limit_ms is set but there is no host_program: a model in this process cannot be ended; give "
            "host_program, or leave the limit 0");
    }
    // On its way to a host a key ends at its first zero.
    const auto& key = params.openvinoMakeEncryptedKey;
    const auto* const zero = std::find(key.begin(), key.end(), uint8_t{0});
    if (!params.host.empty() && std::any_of(zero, key.end(), [](uint8_t byte) { return byte != 0; })) {
        throw Refused(
            "a key with a zero byte in front of others does not reach a host process: encrypt the model with another "
            "key, or run it without host_program");
    }
}

}  // namespace

void CheckStructSize(uint64_t size, size_t first, const std::string& name) {
    constexpr uint64_t kLargest = 4'096;  // what is no size at all must not be read so far
    if (size < first || size > kLargest || size % alignof(uint64_t) != 0) {
        throw BadArgument(name + ".struct_size is " + std::to_string(size) + ": set it to sizeof(" + name + ")");
    }
}

std::string ReadText(const char* text, const std::string& field) {
    if (text == nullptr) {
        return {};
    }
    const auto* const end = static_cast<const char*>(std::memchr(text, 0, kLongestText + 1));
    if (end == nullptr) {
        throw BadArgument(field + " is longer than " + std::to_string(kLongestText) + " bytes: give a shorter one");
    }
    if (!IsUtf8({text, end})) {
        throw BadArgument(field + " is not UTF-8: convert it before you pass it");
    }
    return {text, end};
}

std::array<uint8_t, 4> ReadKey(const uint8_t* key, uint32_t size) {
    std::array<uint8_t, 4> bytes{};
    if (size == 0 || size > bytes.size()) {
        throw BadArgument("a key has 1 to 4 bytes, not " + std::to_string(size));
    }
    if (key == nullptr) {
        throw BadArgument("key is null but key_size is not 0: give both or none");
    }
    std::copy_n(key, size, bytes.begin());
    return bytes;
}

void RefuseSpecialFile(const std::string& path) {
    std::error_code ignored;
    if (!path.empty() && std::filesystem::is_other(std::filesystem::status(Platform::PathFromUtf8(path), ignored))) {
        throw Refused(path + " is no ordinary file: models and caches are read from files");
    }
}

LoadRequest ReadOptions(const orvane_options* given) {
    constexpr size_t kFirstSize = 80;
    const auto options = ReadStruct(given, kFirstSize, "orvane_options");
    LoadRequest request;
    InterpreterParams& params = request.params;
    params.framework = FrameworkTypeOpenvino;
    params.modelPath = ReadText(options.model_path, "model_path");
    params.openvinoDevice = ReadText(options.device, "device");
    params.openvinoCachePath = ReadText(options.cache_path, "cache_path");
    params.openvinoMakeCache = options.make_cache != 0;
    if (options.host_program != nullptr) {
        params.host = ReadText(options.host_program, "host_program");
        params.host = params.host.empty() ? Platform::ProgramBesideThisCode("orvane_host") : params.host;
    }
    if (options.key != nullptr || options.key_size != 0) {
        params.openvinoMakeEncrypted = true;
        params.openvinoMakeEncryptedKey = ReadKey(options.key, options.key_size);
    }
    request.timeLimit = options.time_limit_ms;
    CheckCombination(request);
    RefuseSpecialFile(params.modelPath);
    RefuseSpecialFile(params.openvinoCachePath);
    if (params.modelPath.ends_with(".xml") || params.openvinoMakeEncrypted) {
        RefuseSpecialFile(WeightsFileOf(params.modelPath));
    }
    return request;
}

}  // namespace Orvane::C
