#include "cli/model/load_model.h"

#include "cli/failure.h"
#include "cli/model/load_hints.h"
#include "cli/printable.h"
#include "cli/report/load_progress.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/whole_file.h"

#include <chrono>
#include <filesystem>
#include <ostream>
#include <string>
#include <utility>

namespace Orvane::Cli {
namespace {

orvane::Options MakeOptions(const ModelOptions& options, const std::optional<std::string>& key) {
    orvane::Options made;
    made.modelPath = options.model.value_or("");
    made.device = options.device.value_or("");
    made.cachePath = options.cache.value_or("");
    made.makeCache = options.makeCache;
    made.hostProgram = options.HostProgram();
    if (key) {
        made.key.assign(key->begin(), key->end());
    }
    made.timeLimit = std::chrono::milliseconds(static_cast<int64_t>(options.timeout.value_or(0) * 1000));
    return made;
}

orvane::Model Load(const ModelOptions& options, const std::optional<std::string>& key) {
    try {
        return orvane::Model(MakeOptions(options, key));
    } catch (const orvane::Error& error) {
        throw Failure(error.what(), LoadHints(options, error));
    }
}

// For the SDK a cache that cannot be written is no failure.
orvane::Model LoadAndMakeCache(const ModelOptions& options, const std::optional<std::string>& key) {
    Platform::FinalPlace(*options.cache);  // says what is wrong with it
    const Platform::InterruptFlag interrupt;
    orvane::Model model = Load(options, key);
    if (interrupt.IsSet()) {
        throw Failure("interrupted while the cache was made");
    }
    if (Platform::IsMissing(Platform::PathFromUtf8(*options.cache))) {
        throw Failure("the cache file " + *options.cache + " could not be written",
                      {"Check that its folder exists, may be written to and has room."});
    }
    return model;
}

// Ctrl-C waits until the temporary files can be removed.
LoadedModel LoadWithShapes(const ModelOptions& options, std::ostream& err) {
    const Platform::InterruptFlag interrupt;
    const std::filesystem::path place = std::filesystem::temp_directory_path() / "orvane";
    auto files = std::make_unique<Platform::PrivateFolder>(place);
    ModelOptions reshaped = options;
    reshaped.model = Platform::Utf8FromPath(files->Path() / "model.xml");
    Reshape(options, ParseShapes(options.shapes), *reshaped.model, err);
    const LoadProgress progress(*options.model, err);
    orvane::Model model = Load(reshaped, std::nullopt);
    files->Remove();
    if (interrupt.IsSet()) {
        throw Failure("interrupted while the model was loaded");
    }
    return {std::move(files), std::move(model)};
}

}  // namespace

void Reshape(const ModelOptions& options, const std::vector<ShapeArgument>& shapes, const std::string& out,
             std::ostream& err) {
    RefuseFolder(options);
    const LoadProgress progress(*options.model, err);
    orvane::InputShapes resolved;
    try {
        resolved = ResolveShapes(*options.model, shapes, ModelTensors(orvane::DescribeFile(*options.model).inputs));
    } catch (const orvane::Error& error) {
        throw Failure(error.what(), LoadHints(options, error));
    }
    try {
        orvane::ReshapeFile(*options.model, resolved, out);
    } catch (const orvane::Error& error) {
        if (error.GetReason() != orvane::Reason::Runtime) {
            throw;
        }
        throw Failure(error.what(), {"The model does not take these shapes: give others with --shape."});
    }
}

LoadedModel LoadModel(const ModelOptions& options, std::ostream& err) {
    CheckUsage(options);
    const std::optional<std::string> key = ReadKey(options.key);
    if (options.framework != FrameworkTypeOpenvino && options.framework != FrameworkTypeOpenvinoPlain) {
        throw Failure("Framework " + std::to_string(options.framework) + " is not in this build",
                      {"Leave --framework out."});
    }
    RefuseFolder(options);
    if (!options.shapes.empty()) {
        return LoadWithShapes(options, err);
    }
    const LoadProgress progress(options.model.value_or(options.cache.value_or("")), err);
    const bool makesCache =
        options.makeCache && options.cache && Platform::IsMissing(Platform::PathFromUtf8(*options.cache));
    return {nullptr, makesCache ? LoadAndMakeCache(options, key) : Load(options, key)};
}

LogLines::LogLines(std::optional<uint32_t> minimum, std::ostream& err) : stream(err) {
    if (minimum) {
        least = *minimum;
        orvane_set_log(Print, this);
    }
}

LogLines::~LogLines() {
    orvane_set_log(nullptr, nullptr);
}

void LogLines::Print(void* self, uint32_t level, const char* text) {
    const auto& lines = *static_cast<const LogLines*>(self);
    if (level >= lines.least) {
        lines.stream << PrintableLines(text) << "\n";
    }
}

}  // namespace Orvane::Cli
