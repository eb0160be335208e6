#include "cli/model/load_model.h"

#include "cli/failure.h"
#include "cli/model/load_hints.h"
#include "cli/printable.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/whole_file.h"

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

OptionHandle MakeOption(const ModelOptions& options, const std::optional<std::string>& key) {
    OptionHandle option = CreateOption();
    option->SetInt(OptionCommonFramework, options.framework);
    SetText(*option, OptionCommonModelPath, options.model);
    SetText(*option, OptionCommonHost, options.HostProgram());
    SetText(*option, OptionOpenvinoDevie, options.device);
    SetText(*option, OptionOpenvinoCachePath, options.cache);
    SetText(*option, OptionOpenvinoMakeEncryptedKey, key);
    option->SetBool(OptionOpenvinoMakeCache, options.makeCache);
    option->SetBool(OptionOpenvinoMakeEncrypted, key.has_value());
    return option;
}

// A pipe would be waited for, and a device may do anything.
void RefuseSpecialFile(const std::optional<std::string>& path) {
    std::error_code ignored;
    const std::filesystem::file_status status =
        path ? std::filesystem::status(Platform::PathFromUtf8(*path), ignored) : std::filesystem::file_status();
    if (std::filesystem::is_other(status)) {
        throw Failure(*path + " is no ordinary file", {"A model and a cache are read from files."});
    }
}

Status TryInit(Interpreter& interpreter, const ModelOptions& options, const std::optional<std::string>& key) {
    if (options.timeout) {
        interpreter.SetTimeLimit(static_cast<uint32_t>(*options.timeout * 1000));
    }
    return interpreter.Init(*MakeOption(options, key));
}

void Init(Interpreter& interpreter, const ModelOptions& options, const std::optional<std::string>& key) {
    if (const Status status = TryInit(interpreter, options, key); !status.Ok()) {
        throw Failure(status.message, LoadHints(options, key, status, interpreter.GetHostEnd()));
    }
}

// The SDK writes a cache in its place, piece by piece, and runs the model all the same when it cannot. Here the cache
// has a name of its own until it has proved to be whole, by being read: its last bytes are as necessary as the others.
void InitAndMakeCache(Interpreter& interpreter, const ModelOptions& options, const std::optional<std::string>& key) {
    const std::filesystem::path place = Platform::FinalPlace(*options.cache);
    const Platform::PartialFile partial(place);
    const Platform::InterruptFlag interrupt;
    const Platform::OwnerOnlyFiles ownerOnly;

    ModelOptions making = options;
    making.cache = Platform::Utf8FromPath(partial.Path());
    Init(interpreter, making, key);
    making.makeCache = false;
    Interpreter reader;
    std::error_code error;
    const bool isWhole = std::filesystem::exists(partial.Path(), error) && TryInit(reader, making, key).Ok();
    if (interrupt.IsSet()) {
        throw Failure("interrupted; the cache was not written");
    }
    if (isWhole) {
        std::filesystem::rename(partial.Path(), place, error);
    }
    if (!isWhole || error) {
        throw Failure("the cache file " + *options.cache + " could not be written",
                      {"Check that its folder exists, may be written to and has room."});
    }
}

}  // namespace

Interpreter LoadModel(const ModelOptions& options) {
    CheckUsage(options);
    const std::optional<std::string> key = ReadKey(options.key);
    RefuseSpecialFile(options.model);
    RefuseSpecialFile(options.cache);
    Interpreter interpreter;
    if (options.makeCache && options.cache && Platform::IsMissing(Platform::PathFromUtf8(*options.cache))) {
        InitAndMakeCache(interpreter, options, key);
    } else {
        Init(interpreter, options, key);
    }
    return interpreter;
}

LogLines::LogLines(std::optional<uint32_t> minimum, std::ostream& err) {
    if (minimum) {
        logStream = &err;
        SetLogLevel(*minimum);
        SetLogCallback([](uint32_t, const char* text) { *logStream << PrintableLines(text) << "\n"; });
    }
}

LogLines::~LogLines() {
    SetLogCallback(nullptr);
    SetLogLevel(0);
}

}  // namespace Orvane::Cli
