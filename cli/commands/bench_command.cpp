#include "cli/commands/commands.h"

#include "cli/failure.h"
#include "cli/model/inference.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"
#include "cli/report/bench_page.h"
#include "cli/report/bench_report.h"
#include "cli/report/progress_bar.h"
#include "platform/interrupt.h"
#include "platform/whole_file.h"

#include <orvane/interpreter.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <memory>
#include <sstream>
#include <utility>

namespace Orvane::Cli {
namespace {

using Clock = std::chrono::steady_clock;

struct BenchOptions {
    ModelOptions model;
    uint32_t warmup = 10;
    std::optional<uint32_t> iterations;
    double seconds = 5;
    std::optional<std::string> json;
    std::optional<std::string> html;
    std::vector<std::string> compare;
};

double Milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

// Before the work, so that none of it is in vain.
void Check(const BenchOptions& options) {
    if (!(options.seconds > 0)) {  // also refuses what is no number
        throw WrongUsage("--seconds takes a number above 0");
    }
    RefuseEmpty("--json", options.json, "the file to write");
    RefuseEmpty("--html", options.html, "the file to write");
    if (options.json && options.json == options.html) {
        throw WrongUsage("--json and --html name the same file");
    }
    for (const auto& file : {options.json, options.html}) {
        if (file) {
            const Platform::WholeFile trial(*file);
        }
    }
}

void WriteText(const std::string& path, const std::string& text) {
    Platform::WholeFile file(path);
    file.Write(text.data(), text.size());
    file.Close();
    file.Commit();
}

// The results as files, `earlier` ones beside them on the page.
void WriteFiles(const BenchOptions& options, const BenchReport& report, std::vector<NamedResult> earlier) {
    const Json result = BenchReportJson(report);
    if (options.json) {
        std::ostringstream text;
        PrintJson(text, result);
        WriteText(*options.json, text.str());
    }
    if (options.html) {
        earlier.insert(earlier.begin(), {"this run", result});
        WriteText(*options.html, BenchPage(earlier));
    }
}

InferenceTimes TimeInference(Inference& inference) {
    const auto start = Clock::now();
    inference.CopyIn();
    const auto copiedIn = Clock::now();
    inference.Compute();
    const auto computed = Clock::now();
    inference.CopyOut();
    return {Milliseconds(copiedIn - start), Milliseconds(computed - copiedIn), Milliseconds(Clock::now() - computed)};
}

void WarmUp(Inference& inference, uint32_t count, std::ostream& err) {
    ProgressBar progress(err);
    for (uint32_t i = 0; i < count; ++i) {
        TimeInference(inference);
        progress.Show(i + 1, count);
    }
}

// Until Ctrl-C at the latest, which lets an inference come to its end.
void Measure(Inference& inference, const BenchOptions& options, BenchReport& report, std::ostream& err) {
    const Platform::InterruptFlag interrupt;
    const double target = options.iterations ? *options.iterations : options.seconds;
    ProgressBar progress(err);
    const std::optional<Platform::ProcessorTime> before = Platform::ProcessorTimeSoFar();
    const auto start = Clock::now();
    for (double done = 0; done < target && !report.interrupted;) {
        report.inferences.push_back(TimeInference(inference));
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        done = options.iterations ? static_cast<double>(report.inferences.size()) : elapsed.count();
        progress.Show(done, target);
        report.interrupted = done < target && interrupt.IsSet();
    }
    const std::optional<Platform::ProcessorTime> after = Platform::ProcessorTimeSoFar();
    report.otherWork = before && after ? OtherWorkBetween(*before, *after) : std::nullopt;
}

Transfer Zeros(const ModelTensor& input) {
    if (const std::optional<std::string> obstacle = input.Obstacle()) {
        throw Failure(Label(input) + " cannot be filled: " + *obstacle);
    }
    return {&input, std::vector<uint8_t>(input.Bytes()), std::nullopt};
}

void MeasureModel(const BenchOptions& options, BenchReport& report, std::ostream& err) {
    const LogLines lines(options.model.logLevel, err);
    const auto start = Clock::now();
    LoadedModel loaded = LoadModel(options.model, err);
    orvane::Model& model = loaded.model;
    report.initialisation = Milliseconds(Clock::now() - start);

    const std::vector<ModelTensor> inputs = TensorsOf(model, TensorTypeInput);
    RefuseDynamicInputs(options.model, inputs);
    const std::vector<ModelTensor> outputs = TensorsOf(model, TensorTypeOutput);
    Inference inference{model, {}, PrepareOutputs({}, outputs)};
    std::transform(inputs.begin(), inputs.end(), std::back_inserter(inference.inputs), Zeros);

    report.firstInference = TimeInference(inference);
    WarmUp(inference, options.warmup, err);
    // Before the measurements, which take memory of their own.
    report.ownMemory = Platform::OwnMemoryUse();
    report.hostMemory = report.host ? Platform::ChildMemoryUse() : std::nullopt;
    Measure(inference, options, report, err);
}

// What it takes to start a host, to have it answer a call and to end it: the median of a few. The call asks for a
// framework that no host has, which only the SDK's classes can ask for, and is refused without any work. None when that
// is not what a host answers.
std::optional<double> TimeLaunch(const std::string& host) {
    constexpr int kLaunches = 5;
    InterpreterParams params;
    params.framework = FrameworkTypeInvalid;
    params.host = host;
    std::vector<double> times;
    for (int i = 0; i < kLaunches; ++i) {
        Interpreter interpreter;
        const auto start = Clock::now();
        const Status status = interpreter.Init(params);
        times.push_back(Milliseconds(Clock::now() - start));
        if (status.reason != FailureReasonRefused) {
            return std::nullopt;
        }
    }
    return Distribute(std::move(times)).p50;
}

// As ISO 8601, in UTC.
std::string Now() {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const auto day = std::chrono::floor<std::chrono::days>(now);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(now - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

void Bench(const BenchOptions& options, std::ostream& out, std::ostream& err) {
    Check(options);
    std::vector<NamedResult> earlier;
    std::transform(options.compare.begin(), options.compare.end(), std::back_inserter(earlier), ReadBenchResult);
    BenchReport report;
    report.machine = Platform::DescribeMachine();
    report.model = options.model.model;
    report.host = options.model.HostProgram();
    report.warmup = options.warmup;
    MeasureModel(options, report, err);
    if (report.host) {
        report.launch = TimeLaunch(*report.host);
    }
    report.date = Now();
    PrintBenchReport(out, report);
    WriteFiles(options, report, std::move(earlier));
}

}  // namespace

Command BenchCommand() {
    const auto options = std::make_shared<BenchOptions>();
    const std::vector<Argument> own = {
        {"--warmup", &options->warmup, "N", "Number of inferences before the measured ones (10 unless given)"},
        {"--iterations", &options->iterations, "N", "Number of inferences to measure", {.isAboveZero = true}},
        {"--seconds",
         &options->seconds,
         "S",
         "How long to measure instead (5 unless given)",
         {.excludes = "--iterations"}},
        {"--json", &options->json, "FILE", "Also write the results to this file, as a JSON object"},
        {"--html", &options->html, "FILE", "Also write them to this file, as a page for a browser"},
        {"--compare",
         &options->compare,
         "FILE",
         "Show these earlier --json files on the page too; after MODEL",
         {.takesSeveral = true, .needs = "--html"}},
    };
    return {"bench", "Measure how fast a model starts and runs", Joined(ArgumentsForModel(options->model), own),
            [options](std::ostream& out, std::ostream& err) { Bench(*options, out, err); }};
}

}  // namespace Orvane::Cli
