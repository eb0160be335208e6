#include "cli/model/load_model.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/model/load_hints.h"
#include "cli/printable.h"
#include "cli/report/load_progress.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/whole_file.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <ostream>
#include <string>
#include <utility>

namespace Orvane::Cli {
namespace {

std::chrono::milliseconds Milliseconds(const std::optional<double>& seconds) {
    return std::chrono::milliseconds(static_cast<int64_t>(seconds.value_or(0) * 1000));
}

// `interrupt` is null if Ctrl-C ends the process.
orvane::Model Load(const ModelOptions& options, orvane::Options given, std::ostream& err,
                   const Platform::InterruptFlag* interrupt) {
    LoadProgress progress(options.model.value_or(options.cache.value_or("")), err);
    given.progress = [&](orvane::LoadStep step) {
        progress.SetStep(step);
        return interrupt == nullptr || !interrupt->IsSet();
    };
    try {
        return orvane::Model(given);
    } catch (const orvane::Error& error) {
        if (error.GetReason() == orvane::Reason::Cancelled) {
            throw Failure("interrupted while the model was loaded");
        }
        throw Failure(error.what(), LoadHints(options, error));
    }
}

// The SDK runs a model even if it cannot write the cache; this throws.
orvane::Model LoadAndMakeCache(const ModelOptions& options, const orvane::Options& given, std::ostream& err) {
    Platform::FinalPlace(*options.cache);  // throws if there can be no such file
    const Platform::InterruptFlag interrupt;
    orvane::Model model = Load(options, given, err, &interrupt);
    if (Platform::IsMissing(Platform::PathFromUtf8(*options.cache))) {
        throw Failure("the cache file " + *options.cache + " could not be written",
                      {"Check that its folder exists, that you may write to it, and that the disk is not full."});
    }
    return model;
}

std::unique_ptr<Platform::PrivateFolder> TemporaryFolder() {
    return std::make_unique<Platform::PrivateFolder>(std::filesystem::temp_directory_path() / "orvane");
}

LoadedModel LoadWithShapes(const ModelOptions& options, std::ostream& err) {
    const Platform::InterruptFlag interrupt;
    auto files = TemporaryFolder();
    ModelOptions reshaped = options;
    reshaped.model = Platform::Utf8FromPath(files->Path() / "model.xml");
    Reshape(options, ParseShapes(options.shapes), *reshaped.model, err);
    if (interrupt.IsSet()) {
        throw Failure("interrupted before the model was loaded");
    }
    orvane::Model model = Load(options, OptionsFor(reshaped), err, &interrupt);
    files->Remove();
    return {std::move(files), std::move(model)};
}

// If the model comes from the standard input, writes it to a file in a new folder, and names that file in `options`.
// The name's ending fits the model's format.
std::unique_ptr<Platform::PrivateFolder> KeepStandardInput(ModelOptions& options) {
    if (!options.model || !IsStandard(*options.model)) {
        return nullptr;
    }
    const std::string bytes = ReadInput("-");
    if (bytes.empty()) {
        throw Failure("the standard input is empty",
                      {"Redirect a model file to it, as in orvane info - < model.onnx."});
    }
    if (bytes.starts_with("<")) {
        throw Failure("the standard input holds an .xml, whose weights are in another file",
                      {"Give a model that is one file, such as .onnx or .tflite."});
    }
    auto folder = TemporaryFolder();
    const bool isTflite = bytes.size() > 8 && bytes.compare(4, 4, "TFL3") == 0;
    options.model = Platform::Utf8FromPath(folder->Path() / (isTflite ? "model.tflite" : "model.onnx"));
    WriteFile(*options.model, bytes);
    return folder;
}

bool HasCache(const ModelOptions& options) {
    std::error_code ignored;
    return options.cache && std::filesystem::is_regular_file(Platform::PathFromUtf8(*options.cache), ignored);
}

[[noreturn]] void RefuseCache(const ModelOptions& options, const std::string& why) {
    throw Failure("the cache file " + *options.cache + " is stale: " + why,
                  {"Delete it and give --make-cache, or leave MODEL out to run the model in the cache."});
}

bool HasSameTensors(const std::vector<orvane::Tensor>& left, const std::vector<orvane::Tensor>& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](const auto& one, const auto& other) {
        return one.type == other.type && one.shape == other.shape;
    });
}

// Reads the plain model file in this process: do not call this for a model in a host process.
void RefuseOtherModelsCache(const ModelOptions& options, const orvane::Model& loaded) {
    const orvane::FileTensors file = orvane::DescribeFile(*options.model);
    if (!HasSameTensors(file.inputs, loaded.Inputs()) || !HasSameTensors(file.outputs, loaded.Outputs())) {
        RefuseCache(options, "its inputs or outputs are not those of MODEL");
    }
}

// A model from the standard input has no age.
void RefuseOlderCache(const ModelOptions& options) {
    if (!options.model || IsStandard(*options.model) || !HasCache(options)) {
        return;
    }
    std::error_code unknown;
    const auto cacheTime = std::filesystem::last_write_time(Platform::PathFromUtf8(*options.cache), unknown);
    const auto modelTime = std::filesystem::last_write_time(Platform::PathFromUtf8(*options.model), unknown);
    if (!unknown && modelTime > cacheTime) {
        RefuseCache(options, "MODEL is newer");
    }
}

LoadedModel LoadFromFile(const ModelOptions& options, std::ostream& err) {
    RefuseFolder(options);
    if (!options.shapes.empty()) {
        return LoadWithShapes(options, err);
    }
    const orvane::Options given = OptionsFor(options);
    if (options.makeCache && Platform::IsMissing(Platform::PathFromUtf8(*options.cache))) {
        return {nullptr, LoadAndMakeCache(options, given, err)};
    }
    LoadedModel loaded{nullptr, Load(options, given, err, nullptr)};
    if (HasCache(options) && options.model && !options.IsEncrypted() && !options.HostProgram()) {
        RefuseOtherModelsCache(options, loaded.model);
    }
    return loaded;
}

}  // namespace

orvane::Options OptionsFor(const ModelOptions& options) {
    orvane::Options made;
    made.modelPath = options.model.value_or("");
    made.device = DeviceName(options.device);
    made.cachePath = options.cache.value_or("");
    made.makeCache = options.makeCache;
    made.hostProgram = options.HostProgram();
    made.key = ReadKey(options.key);
    made.timeLimit = Milliseconds(options.timeout);
    made.loadTimeLimit = Milliseconds(options.loadTimeout);
    return made;
}

void Reshape(const ModelOptions& options, const std::vector<ShapeArgument>& shapes, const std::string& out,
             std::ostream& err) {
    ModelOptions kept = options;
    const auto folder = KeepStandardInput(kept);
    RefuseFolder(kept);
    const LoadProgress progress(*kept.model, err);
    orvane::InputShapes resolved;
    try {
        resolved = ResolveShapes(shapes, orvane::DescribeFile(*kept.model).inputs);
    } catch (const orvane::Error& error) {
        throw Failure(error.what(), LoadHints(kept, error));
    }
    try {
        orvane::ReshapeFile(*kept.model, resolved, out);
    } catch (const orvane::Error& error) {
        if (error.GetReason() != orvane::Reason::Runtime) {
            throw;
        }
        throw Failure(error.what(), {"The model does not take these shapes: give others with --shape."});
    }
}

LoadedModel LoadModel(const ModelOptions& options, std::ostream& err) {
    CheckUsage(options);
    RefuseOlderCache(options);
    ModelOptions kept = options;
    auto folder = KeepStandardInput(kept);
    LoadedModel loaded = LoadFromFile(kept, err);
    return {folder ? std::move(folder) : std::move(loaded.files), std::move(loaded.model)};
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
