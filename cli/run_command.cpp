#include "cli/run_command.h"

#include "cli/failure.h"
#include "cli/model_options.h"
#include "cli/run_report.h"
#include "cli/transfers.h"

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

void Check(const Status& status, const std::vector<Transfer>& inputs) {
    if (status.Ok()) {
        return;
    }
    std::vector<std::string> hints;
    for (const Transfer& input : inputs) {
        if (input.tensor->shape.empty()) {
            hints.push_back(Label(*input.tensor) +
                            " has no dimensions, which cannot be run: export the model with [1].");
        }
    }
    throw Failure(status.message, hints);
}

// Returns the time that `repeat` whole inferences took, in milliseconds.
double Infer(Interpreter& interpreter, const std::vector<Transfer>& inputs, std::vector<Transfer>& outputs,
             uint32_t repeat) {
    const auto start = std::chrono::steady_clock::now();
    for (uint32_t i = 0; i < repeat; ++i) {
        for (const Transfer& input : inputs) {
            Check(input.tensor->handle->CopyFrom(input.data.data(), input.tensor->Bytes()), inputs);
        }
        Check(interpreter.Invoke(), inputs);
        for (Transfer& output : outputs) {
            Check(output.tensor->handle->CopyTo(output.data.data(), output.tensor->Bytes()), inputs);
        }
    }
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void Run(const RunOptions& options, std::ostream& out, std::ostream& err) {
    const std::vector<TensorFileArgument> inputFiles = ParseTensorFiles(options.inputs);
    const std::vector<TensorFileArgument> outputFiles = ParseTensorFiles(options.outputs);
    CheckFilesDiffer(outputFiles);

    const LogLines lines(options.model.logLevel, err);
    Interpreter interpreter = LoadModel(options.model);
    const uint32_t maxBytes = options.model.MaxTensorBytes();
    const std::vector<ModelTensor> inputs = TensorsOf(interpreter, TensorTypeInput, maxBytes);
    const std::vector<ModelTensor> outputs = TensorsOf(interpreter, TensorTypeOutput, maxBytes);
    const std::vector<Transfer> copiedIn = ReadInputs(inputFiles, inputs);
    std::vector<Transfer> copiedOut = PrepareOutputs(outputFiles, outputs);

    const double milliseconds = Infer(interpreter, copiedIn, copiedOut, options.repeat);
    if (!outputFiles.empty()) {
        WriteOutputs(copiedOut);
    }
    const RunReport report{outputs, copiedOut, options.repeat, milliseconds};
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
