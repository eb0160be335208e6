#include "cli/model/load_model.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/model/load_hints.h"
#include "cli/model/shapes.h"
#include "cli/printable.h"
#include "cli/report/load_progress.h"
#include "platform/interrupt.h"
#include "platform/path.h"
#include "platform/whole_file.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

namespace Orvane::Cli {
namespace {

std::chrono::milliseconds Milliseconds(const std::optional<double>& seconds) {
    return std::chrono::milliseconds(static_cast<int64_t>(seconds.value_or(0) * 1000));
}

// Returns the SDK's options for the load.
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

std::string ReadStandardModel() {
    std::string bytes = ReadInput("-");
    if (bytes.empty()) {
        throw Failure("the standard input is empty",
                      {"Redirect a model file to it, as in orvane info - < model.onnx."});
    }
    if (bytes.starts_with("<")) {
        throw Failure("the standard input holds an .xml, whose weights are in another file",
                      {"Give a model that is one file, such as .onnx or .tflite."});
    }
    return bytes;
}

// Writes a model from the standard input to a file whose ending fits its format. Returns the path.
std::string WriteModel(const std::string& bytes, const Platform::PrivateFolder& folder) {
    const bool isTflite = bytes.size() > 8 && bytes.compare(4, 4, "TFL3") == 0;
    std::string path = Platform::Utf8FromPath(folder.Path() / (isTflite ? "model.tflite" : "model.onnx"));
    WriteFile(path, bytes);
    return path;
}

// As `Reshape`, for a model in a file. `interrupt` is null if Ctrl-C ends the process.
void ReshapeTo(const std::string& out, const ModelOptions& options, std::ostream& err,
               const Platform::InterruptFlag* interrupt) {
    const std::vector<ShapeArgument> shapes = ParseShapes(options.shapes);
    RefuseFolder(options);
    const LoadProgress progress(*options.model, err);
    orvane::InputShapes resolved;
    try {
        resolved = ResolveShapes(shapes, orvane::DescribeFile(*options.model).inputs);
    } catch (const orvane::Error& error) {
        throw Failure(error.what(), LoadHints(options, error));
    }
    if (interrupt != nullptr && interrupt->IsSet()) {
        throw Failure("interrupted; nothing was written");
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

// Refuses the cache of another model. Reads the plain model file in this process, so it does nothing for a model in a
// host process.
void CheckCacheFits(const ModelOptions& options, const orvane::Model& loaded) {
    if (!HasCache(options) || !options.model || options.IsEncrypted() || options.HostProgram()) {
        return;
    }
    const orvane::FileTensors file = orvane::DescribeFile(*options.model);
    if (!HasSameTensors(file.inputs, loaded.Inputs()) || !HasSameTensors(file.outputs, loaded.Outputs())) {
        RefuseCache(options, "its inputs or outputs are not those of MODEL");
    }
}

// The SDK runs a model even if it cannot write the cache.
void CheckCacheWasMade(const ModelOptions& options) {
    if (Platform::IsMissing(Platform::PathFromUtf8(*options.cache))) {
        throw Failure("the cache file " + *options.cache + " could not be written",
                      {"Check that its folder exists, that you may write to it, and that the disk is not full."});
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

}  // namespace

void Reshape(const ModelOptions& options, const std::string& out, std::ostream& err) {
    if (!IsStandard(*options.model)) {
        ReshapeTo(out, options, err, nullptr);
        return;
    }
    const std::string bytes = ReadStandardModel();
    const Platform::InterruptFlag interrupt;
    const auto folder = TemporaryFolder();
    ModelOptions kept = options;
    kept.model = WriteModel(bytes, *folder);
    ReshapeTo(out, kept, err, &interrupt);
}

LoadedModel LoadModel(const ModelOptions& options, std::ostream& err) {
    CheckUsage(options);
    RefuseOlderCache(options);
    const bool makesCache = options.makeCache && Platform::IsMissing(Platform::PathFromUtf8(*options.cache));
    if (makesCache) {
        Platform::FinalPlace(*options.cache);  // throws if there can be no such file
    }
    orvane::Options given = OptionsFor(options);
    ModelOptions used = options;
    const bool isStandard = options.model && IsStandard(*options.model);
    const std::string bytes = isStandard ? ReadStandardModel() : "";

    const bool hasFiles = isStandard || !options.shapes.empty();
    std::optional<Platform::InterruptFlag> interrupt;
    if (hasFiles || makesCache) {
        interrupt.emplace();  // Ctrl-C must leave no temporary file, and no part of a cache
    }
    std::unique_ptr<Platform::PrivateFolder> folder = hasFiles ? TemporaryFolder() : nullptr;
    if (isStandard) {
        used.model = given.modelPath = WriteModel(bytes, *folder);
    }
    if (options.shapes.empty()) {
        RefuseFolder(used);
    } else {
        given.modelPath = Platform::Utf8FromPath(folder->Path() / "fixed.xml");
        ReshapeTo(given.modelPath, used, err, &*interrupt);
    }
    orvane::Model model = Load(used, given, err, interrupt ? &*interrupt : nullptr);
    if (options.cache) {
        makesCache ? CheckCacheWasMade(used) : CheckCacheFits(used, model);
    }
    if (folder) {
        folder->Remove();
    }
    return {std::move(folder), std::move(model)};
}

LogLines::LogLines(std::optional<uint32_t> minimum, std::ostream& err) : stream(err) {
    if (minimum) {
        least = *minimum;
        if (orvane_error* error = orvane_set_log(Print, this); error != nullptr) {
            orvane_error_free(error);
            throw std::bad_alloc();
        }
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
