#include "cli/model/load_model.h"

#include "cli/failure.h"
#include "cli/model/load_hints.h"
#include "platform/path.h"

#include <orvane/log.h>

#include <filesystem>
#include <ostream>
#include <string>

namespace Orvane::Cli {
namespace {

std::ostream* logStream = nullptr;

void SetText(OptionV2& option, const char* key, const std::optional<std::string>& text) {
    if (text) {
        option.SetString(key, text->c_str());
    }
}

OptionHandle MakeOption(const ModelOptions& options) {
    OptionHandle option = CreateOption();
    option->SetInt(OptionCommonFramework, options.framework);
    SetText(*option, OptionCommonModelPath, options.model);
    SetText(*option, OptionCommonHost, options.HostProgram());
    SetText(*option, OptionOpenvinoDevie, options.device);
    SetText(*option, OptionOpenvinoCachePath, options.cache);
    SetText(*option, OptionOpenvinoMakeEncryptedKey, options.key);
    option->SetBool(OptionOpenvinoMakeCache, options.makeCache);
    option->SetBool(OptionOpenvinoMakeEncrypted, options.key.has_value());
    return option;
}

// The SDK loads a model all the same when its cache cannot be written.
void CheckCacheWritten(const std::string& cache) {
    std::error_code error;
    if (std::filesystem::file_size(Platform::PathFromUtf8(cache), error) == 0 || error) {
        throw Failure("the cache file " + cache + " could not be written",
                      {"Check that its folder exists, may be written to and has room."});
    }
}

}  // namespace

Interpreter LoadModel(const ModelOptions& options) {
    CheckUsage(options);
    Interpreter interpreter;
    if (const Status status = interpreter.Init(*MakeOption(options)); !status.Ok()) {
        throw Failure(status.message, LoadHints(options, status));
    }
    if (options.makeCache && options.cache) {
        CheckCacheWritten(*options.cache);
    }
    return interpreter;
}

LogLines::LogLines(std::optional<uint32_t> minimum, std::ostream& err) {
    if (minimum) {
        logStream = &err;
        SetLogLevel(*minimum);
        SetLogCallback([](uint32_t, const char* text) { *logStream << text << "\n"; });
    }
}

LogLines::~LogLines() {
    SetLogCallback(nullptr);
    SetLogLevel(0);
}

}  // namespace Orvane::Cli
