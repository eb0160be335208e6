#include "cli/commands/commands.h"

#include "cli/model/inference.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"
#include "cli/report/run_report.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <limits>
#include <memory>

namespace Orvane::Cli {
namespace {

struct RunOptions {
    ModelOptions model;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    uint32_t repeat = 1;
    bool json = false;
};

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
    CheckFilesDiffer(outputFiles);

    const LogLines lines(options.model.logLevel, err);
    LoadedModel loaded = LoadModel(options.model, err);
    orvane::Model& model = loaded.model;
    const std::vector<ModelTensor> inputs = TensorsOf(model, TensorTypeInput);
    RefuseDynamicInputs(options.model, inputs);
    const std::vector<ModelTensor> outputs = TensorsOf(model, TensorTypeOutput);
    Inference inference{model, ReadInputs(inputFiles, inputs), PrepareOutputs(outputFiles, outputs)};

    const double milliseconds = Infer(inference, options.repeat);
    WriteOutputs(inference.outputs);
    const RunReport report{outputs, inference.outputs, options.repeat, milliseconds};
    options.json ? PrintJsonReport(out, report) : PrintReport(out, report);
}

}  // namespace

Command AddRunCommand(CLI::App& app) {
    const auto options = std::make_shared<RunOptions>();
    CLI::App* command = app.add_subcommand("run", "Run a model once or several times");
    AddModelOptions(*command, options->model);
    command->add_option("--input", options->inputs, "Data of the input with this index or name; once for each")
        ->type_name("WHICH=FILE")
        ->allow_extra_args(false);
    command
        ->add_option("--output", options->outputs, "Where this output goes; without any, a summary of all is printed")
        ->type_name("WHICH=FILE")
        ->allow_extra_args(false);
    command->add_option("--repeat", options->repeat, "Number of times to do the whole inference")
        ->check(CLI::Range(1U, std::numeric_limits<uint32_t>::max()).description(""))
        ->type_name("N");
    command->add_flag("--json", options->json, "Print one JSON object");
    return {command, [options](std::ostream& out, std::ostream& err) { Run(*options, out, err); }};
}

}  // namespace Orvane::Cli
