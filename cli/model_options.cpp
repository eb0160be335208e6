#include "cli/model_options.h"

#include "cli/failure.h"
#include "cli/load_hints.h"
#include "cli/model_tensor.h"
#include "platform/path.h"

#include <orvane/host.h>
#include <orvane/log.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <ostream>

namespace Orvane::Cli {
namespace {

std::ostream* logStream = nullptr;

void CheckUsage(const ModelOptions& options) {
    const bool hasOpenvinoOptions =
        !options.device.empty() || !options.cache.empty() || options.makeCache || options.key;
    if (options.framework != FrameworkTypeOpenvino && hasOpenvinoOptions) {
        throw WrongUsage("--device, --cache, --make-cache and --key go with framework 9 only");
    }
    if (options.remote && options.host) {
        throw WrongUsage("--remote and --host exclude each other: both name the host program");
    }
    if (options.host && options.host->empty()) {
        throw WrongUsage("--host is empty; it takes the path of a host program");
    }
    if (options.model.empty() && options.cache.empty()) {
        throw WrongUsage("MODEL is missing; it may be left out only when --cache names a cache file");
    }
    if (options.makeCache && options.cache.empty()) {
        throw WrongUsage("--make-cache needs --cache FILE, the file to write");
    }
    if (options.key && options.key->empty()) {
        throw WrongUsage("--key is empty; it takes 1 to 4 bytes");
    }
}

OptionHandle MakeOption(const ModelOptions& options) {
    OptionHandle option = CreateOption();
    option->SetInt(OptionCommonFramework, options.framework);
    option->SetString(OptionCommonModelPath, options.model.c_str());
    option->SetString(OptionOpenvinoDevie, options.device.c_str());
    option->SetString(OptionOpenvinoCachePath, options.cache.c_str());
    option->SetBool(OptionOpenvinoMakeCache, options.makeCache);
    option->SetString(OptionCommonHost, options.HostProgram().c_str());
    if (options.key) {
        option->SetBool(OptionOpenvinoMakeEncrypted, true);
        option->SetString(OptionOpenvinoMakeEncryptedKey, options.key->c_str());
    }
    return option;
}

// The SDK loads a model all the same when its cache cannot be written.
void CheckCacheWritten(const ModelOptions& options) {
    std::error_code error;
    if (std::filesystem::file_size(Platform::PathFromUtf8(options.cache), error) == 0 || error) {
        throw Failure("the cache file " + options.cache + " could not be written",
                      {"Check that its folder exists, may be written to and has room."});
    }
}

}  // namespace

std::string ModelOptions::HostProgram() const {
    return remote ? HostPathBesideProgram() : host.value_or("");
}

uint32_t ModelOptions::MaxTensorBytes() const {
    return HostProgram().empty() ? kMaxTensorBytes : kMaxHostTensorBytes;
}

void AddModelOptions(CLI::App& app, ModelOptions& options) {
    app.add_option("MODEL", options.model, "Model file; may be left out when --cache names an existing file")
        ->type_name("");
    app.add_option("--device", options.device, "Device that runs the model (CPU unless given)")->type_name("D");
    app.add_option("--framework", options.framework, "Number of the inference framework (9 unless given)")
        ->type_name("N");
    app.add_option("--cache", options.cache, "Compiled-model cache; when the file exists, MODEL is not read")
        ->type_name("FILE");
    app.add_flag("--make-cache", options.makeCache, "Write the cache file if it does not exist yet");
    app.add_option("--key", options.key, "The model files are encrypted with this key of up to 4 bytes")
        ->type_name("K");
    app.add_option("--host", options.host, "Run the model in a host process of this program")->type_name("PATH");
    app.add_flag("--remote", options.remote, "Run it in a host process of the program orvane_host beside this one");
    app.add_option("--log-level", options.logLevel, "Log lines of this level and above go to standard error")
        ->type_name("L");
}

Interpreter LoadModel(const ModelOptions& options) {
    CheckUsage(options);
    Interpreter interpreter;
    if (const Status status = interpreter.Init(*MakeOption(options)); !status.Ok()) {
        throw Failure(status.message, LoadHints(options, status));
    }
    if (options.makeCache) {
        CheckCacheWritten(options);
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
