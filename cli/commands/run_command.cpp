#include "cli/commands/commands.h"

#include "cli/failure.h"
#include "cli/model/inference.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"
#include "cli/report/run_report.h"
#include "platform/input_file.h"

#include <algorithm>
#include <chrono>
#include <memory>

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

void CheckUsage(const RunOptions& options, const std::vector<TensorFileArgument>& inputFiles) {
    RefuseEmpty("--labels", options.labels, "a file with a name on each line");
    if (options.labels && options.top == 0) {
        throw WrongUsage("--labels needs --top K: they name what that shows");
    }
    if (options.top != 0 && !options.outputs.empty()) {
        throw WrongUsage("--top and --output exclude each other: an output is shown or written");
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
    const bool hasPicture = std::any_of(inputFiles.begin(), inputFiles.end(),
                                        [](const TensorFileArgument& input) { return IsPicture(input.path); });
    if (options.pictures.AnyGiven() && !hasPicture) {
        throw WrongUsage("--mean, --scale and --bgr are for an --input that is a picture, .png or .jpg");
    }
}

std::vector<std::string> ReadLabels(const std::string& path) {
    std::ifstream file = Platform::OpenInputFile(path);
    std::vector<std::string> labels;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        labels.push_back(line);
    }
    return labels;
}

// Returns the time that `repeat` whole inferences took, in milliseconds.
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
    CheckUsage(options, inputFiles);
    const TopOptions top{options.top, options.labels ? ReadLabels(*options.labels) : std::vector<std::string>()};

    const LogLines lines(options.model.logLevel, err);
    LoadedModel loaded = LoadModel(options.model, err);
    orvane::Model& model = loaded.model;
    const std::vector<ModelTensor> inputs = TensorsOf(model, TensorTypeInput);
    RefuseDynamicInputs(options.model, inputs);
    const std::vector<ModelTensor> outputs = TensorsOf(model, TensorTypeOutput);
    Inference inference{model, ReadInputs(inputFiles, inputs, options.pictures), PrepareOutputs(outputFiles, outputs)};

    CheckLabels(top, outputs);
    const double milliseconds = Infer(inference, options.repeat);
    WriteOutputs(inference.outputs);
    const RunReport report{outputs, inference.outputs, options.repeat, milliseconds, top};
    options.json ? PrintJsonReport(out, report) : PrintReport(out, report);
}

}  // namespace

Command RunCommand() {
    const auto options = std::make_shared<RunOptions>();
    PictureOptions& pictures = options->pictures;
    const std::vector<Argument> own = {
        {"--input", &options->inputs, "WHICH=FILE",
         "Data of the input with this index or name, once for each: .npy, .npz, .png, .jpg, or else bare bytes; an "
         ".npz alone gives all that it holds"},
        {"--output", &options->outputs, "WHICH=FILE",
         "Where this output goes, as .npy or else bare bytes; without any, a summary of all is printed"},
        {"--mean",
         &pictures.mean,
         "X[,X,X]",
         "Of a picture: subtracted from each pixel, 0 to 255; one number, or one for each channel",
         {.separator = ','}},
        {"--scale",
         &pictures.scale,
         "X[,X,X]",
         "Of a picture: what is left is divided by this; one number, or one for each channel",
         {.separator = ','}},
        {"--bgr", &pictures.bgr, "", "Of a picture: blue is the first channel, not red"},
        {"--top",
         &options->top,
         "K",
         "Print the K largest elements of each output instead of a summary",
         {.isAboveZero = true}},
        {"--labels", &options->labels, "FILE", "With --top: the names of the elements, one on each line"},
        {"--repeat", &options->repeat, "N", "Number of times to do the whole inference", {.isAboveZero = true}},
        {"--json", &options->json, "", "Print one JSON object"},
    };
    return {"run", "Run a model once or several times", Joined(ArgumentsForModel(options->model), own),
            [options](std::ostream& out, std::ostream& err) { Run(*options, out, err); }};
}

}  // namespace Orvane::Cli
