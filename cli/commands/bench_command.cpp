#include "cli/command.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/model/inference.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"
#include "cli/model/shapes.h"
#include "cli/report/bench_page.h"
#include "cli/report/bench_report.h"
#include "cli/report/progress_bar.h"
#include "platform/interrupt.h"
#include "platform/whole_file.h"

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

// Checks the options first, so that a mistake wastes no work.
void Check(const BenchOptions& options) {
    if (options.json && options.json == options.html) {
        throw WrongUsage("--json and --html name the same file");
    }
    std::vector<std::string> read = options.compare;
    read.insert(read.end(), {options.model.model.value_or(""), options.model.key.file.value_or("")});
    RefuseSecondStandardInput(read);
    for (const auto& file : {options.json, options.html}) {
        if (file && !IsStandard(*file)) {
            const Platform::WholeFile trial(*file);
        }
    }
}

void WriteText(const std::string& path, const std::string& text, std::ostream& out) {
    if (IsStandard(path)) {
        out << text;
        return;
    }
    WriteFile(path, text);
}

// Prints the results unless the standard output receives a file, and writes the files. The page also has the `earlier`
// results.
void ShowResults(const BenchOptions& options, const BenchReport& report, std::vector<NamedResult> earlier,
                 std::ostream& out) {
    if (options.json != "-" && options.html != "-") {
        PrintBenchReport(out, report);
    }
    const Json result = BenchReportJson(report);
    if (options.json) {
        std::ostringstream text;
        PrintJson(text, result);
        WriteText(*options.json, text.str(), out);
    }
    if (options.html) {
        earlier.insert(earlier.begin(), {"this run", result});
        WriteText(*options.html, BenchPage(earlier), out);
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

// Ctrl-C and the end of the host process end the measurement. The report keeps the results so far.
void Measure(Inference& inference, const BenchOptions& options, BenchReport& report, std::ostream& err) {
    const Platform::InterruptFlag interrupt;
    const double target = options.iterations ? *options.iterations : options.seconds;
    ProgressBar progress(err);
    const std::optional<Platform::ProcessorTime> before = Platform::ProcessorTimeSoFar();
    const auto start = Clock::now();
    for (double done = 0; done < target && !report.interrupted;) {
        try {
            report.inferences.push_back(TimeInference(inference));
        } catch (const orvane::HostEnded& error) {
            if (report.inferences.empty()) {
                throw;
            }
            report.hostEnd.emplace(error.what());
            break;
        }
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        done = options.iterations ? static_cast<double>(report.inferences.size()) : elapsed.count();
        progress.Show(done, target);
        report.interrupted = done < target && interrupt.IsSet();
    }
    const std::optional<Platform::ProcessorTime> after = Platform::ProcessorTimeSoFar();
    report.otherWork = before && after ? OtherWorkBetween(*before, *after) : std::nullopt;
}

void MeasureModel(const BenchOptions& options, BenchReport& report, std::ostream& err) {
    const LogLines lines(options.model.logLevel, err);
    const auto start = Clock::now();
    LoadedModel loaded = LoadModel(options.model, err);
    orvane::Model& model = loaded.model;
    report.initialisation = Milliseconds(Clock::now() - start);

    const std::vector<orvane::Tensor>& inputs = model.Inputs();
    RefuseDynamicInputs(options.model, inputs);
    const std::vector<orvane::Tensor>& outputs = model.Outputs();
    Inference inference{model, {}, PrepareOutputs({}, outputs)};
    std::transform(inputs.begin(), inputs.end(), std::back_inserter(inference.inputs), TransferFor);

    report.firstInference = TimeInference(inference);
    WarmUp(inference, options.warmup, err);
    // The measurements allocate memory, so this comes first.
    report.ownMemory = Platform::OwnMemoryUse();
    report.hostMemory = report.host ? Platform::ChildMemoryUse() : std::nullopt;
    Measure(inference, options, report, err);
}

// Measures how long it takes to start a host process, to let it list its devices and to end it. Returns the median of
// several measurements. The host process is asked for a device that no machine has. Returns no value if it accepts
// that, or needs too long.
std::optional<double> TimeLaunch(const std::string& host) {
    constexpr int kLaunches = 5;
    orvane::Options asked;
    asked.hostProgram = host;
    asked.modelPath = host;  // it must exist, but the host process does not read it
    asked.device = "NONE";
    asked.loadTimeLimit = std::chrono::seconds(10);
    std::vector<double> times;
    for (int i = 0; i < kLaunches; ++i) {
        const auto start = Clock::now();
        try {
            const orvane::Model model(asked);
            return std::nullopt;
        } catch (const orvane::Error& error) {
            if (error.GetReason() != orvane::Reason::Refused) {
                return std::nullopt;
            }
            times.push_back(Milliseconds(Clock::now() - start));
        }
    }
    return Distribute(std::move(times)).p50;
}

// Returns the time as ISO 8601, in UTC.
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
    ShowResults(options, report, std::move(earlier), out);
    if (report.hostEnd) {
        throw Failure(*report.hostEnd, {"The results above are from before that."});
    }
}

}  // namespace

Command BenchCommand() {
    const auto options = std::make_shared<BenchOptions>();
    const std::vector<Argument> own = {
        {"--warmup", &options->warmup, "N", "Run N times before the measurement (default: 10)"},
        {"--iterations", &options->iterations, "N", "Measure N runs", kAboveZero},
        {"--seconds",
         &options->seconds,
         "S",
         "Measure for S seconds instead of N runs (default: 5)",
         {.least = 0.001, .excludes = "--iterations"}},
        {"--json", &options->json, "FILE", "Write the results to this file as a JSON object", kFile},
        {"--html", &options->html, "FILE", "Write the results to this file as a page for a browser", kFile},
        {"--compare",
         &options->compare,
         "FILE ...",
         "Also show these earlier --json files on the page of --html; give it after MODEL",
         {.takesSeveral = true, .needs = "--html", .offer = Offer::Files}},
    };
    return {"bench", "Measure how fast a model loads and runs", "orvane bench face.tflite --remote --json face.json",
            ArgumentsForModel(options->model, own),
            [options](std::ostream& out, std::ostream& err) { Bench(*options, out, err); }};
}

}  // namespace Orvane::Cli
