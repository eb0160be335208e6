#include "cli/command.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/model/inference.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"
#include "cli/model/shapes.h"
#include "cli/report/run_report.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <sstream>

namespace Orvane::Cli {
namespace {

struct RunOptions {
    ModelOptions model;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    PictureOptions pictures;
    uint32_t repeat = 1;
    uint32_t top = 0;
    std::optional<std::string> labels;
    bool json = false;
};

void CheckUsage(const RunOptions& options, const std::vector<TensorFileArgument>& inputFiles,
                const std::vector<TensorFileArgument>& outputFiles) {
    const bool hasStandardOutput =
        std::any_of(outputFiles.begin(), outputFiles.end(),
                    [](const TensorFileArgument& output) { return IsStandard(output.path); });
    if (hasStandardOutput && (options.json || options.repeat > 1)) {
        throw WrongUsage("--output WHICH=- and --json or --repeat would all write to the standard output");
    }
    for (const std::vector<double>* numbers : {&options.pictures.mean, &options.pictures.scale}) {
        if (numbers->size() == 2 || numbers->size() > 3) {
            throw WrongUsage("--mean and --scale take one number or three");
        }
    }
    const std::vector<double>& scale = options.pictures.scale;
    if (std::find(scale.begin(), scale.end(), 0) != scale.end()) {
        throw WrongUsage("--scale divides, so it takes no 0");
    }
    const bool hasPicture = std::any_of(inputFiles.begin(), inputFiles.end(), [](const TensorFileArgument& input) {
        return FormatOf(input.path) == FileFormat::Picture || IsStandard(input.path);
    });
    std::vector<std::string> files = {options.model.model.value_or(""), options.model.key.file.value_or(""),
                                      options.labels.value_or("")};
    for (const TensorFileArgument& input : inputFiles) {
        files.push_back(input.path);
    }
    RefuseSecondStandardInput(files);
    if (options.pictures.AnyGiven() && !hasPicture) {
        throw WrongUsage("--mean, --scale and --bgr are for an --input that is a .png or .jpg picture");
    }
}

std::vector<std::string> ReadLabels(const std::string& path) {
    std::istringstream file(ReadInput(path));
    std::vector<std::string> labels;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        labels.push_back(line);
    }
    return labels;
}

// Returns the time of `repeat` whole inferences, in milliseconds.
double Infer(Inference& inference, uint32_t repeat) {
    const auto start = std::chrono::steady_clock::now();
    for (uint32_t i = 0; i < repeat; ++i) {
        inference.CopyIn();
        inference.Compute();
        inference.CopyOut();
    }
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void Run(const RunOptions& options, std::ostream& out, std::ostream& err) {
    const std::vector<TensorFileArgument> inputFiles = ParseTensorFiles(options.inputs);
    const std::vector<TensorFileArgument> outputFiles = ParseTensorFiles(options.outputs);
    CheckOutputFiles(outputFiles);
    CheckUsage(options, inputFiles, outputFiles);
    const TopOptions top{options.top, options.labels ? ReadLabels(*options.labels) : std::vector<std::string>()};

    const LogLines lines(options.model.logLevel, err);
    LoadedModel loaded = LoadModel(options.model, err);
    orvane::Model& model = loaded.model;
    const std::vector<orvane::Tensor>& inputs = model.Inputs();
    RefuseDynamicInputs(options.model, inputs);
    const std::vector<orvane::Tensor>& outputs = model.Outputs();
    Inference inference{model, ReadInputs(inputFiles, inputs, options.pictures), PrepareOutputs(outputFiles, outputs)};

    CheckLabels(top, outputs);
    const double milliseconds = Infer(inference, options.repeat);
    WriteOutputs(inference.outputs, out);
    const RunReport report{outputs, inference.outputs, options.repeat, milliseconds, top};
    options.json ? PrintJsonReport(out, report) : PrintReport(out, report);
}

}  // namespace

Command RunCommand() {
    const auto options = std::make_shared<RunOptions>();
    PictureOptions& pictures = options->pictures;
    const std::vector<Argument> own = {
        {"--input", &options->inputs, "WHICH=FILE",
         "Read this input (index or name) from an .npy, .npz, .png or .jpg file, or from bare bytes; once per input. "
         "An .npz without WHICH= is read for the inputs that it names",
         kFile},
        {"--output", &options->outputs, "WHICH=FILE",
         "Write this output as .npy, or as bare bytes; without any --output, all outputs are summarised", kFile},
        {"--mean",
         &pictures.mean,
         "X[,X,X]",
         "Pictures: subtract this from each pixel, which is 0 to 255; one number, or one per channel",
         {.separator = ','}},
        {"--scale",
         &pictures.scale,
         "X[,X,X]",
         "Pictures: divide by this after subtracting --mean; one number, or one per channel",
         {.separator = ','}},
        {"--bgr", &pictures.bgr, "", "Pictures: the first channel is blue, not red"},
        {"--top",
         &options->top,
         "K",
         "Show the K largest elements of each output instead of a summary",
         {.least = 1, .excludes = "--output"}},
        {"--labels",
         &options->labels,
         "FILE",
         "Show the names of the elements with --top; the file has one per line",
         {.needs = "--top", .offer = Offer::Files}},
        {"--repeat", &options->repeat, "N", "Run N times and show the time (default: 1)", kAboveZero},
        {"--json", &options->json, "", "Print one JSON object"},
    };
    return {"run", "Run a model on files", "orvane run face.tflite --input 0=photo.png --mean 127.5 --scale 127.5",
            ArgumentsForModel(options->model, own),
            [options](std::ostream& out, std::ostream& err) { Run(*options, out, err); }};
}

}  // namespace Orvane::Cli
