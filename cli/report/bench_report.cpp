#include "cli/report/bench_report.h"

#include "cli/printable.h"

#include <orvane/orvane.hpp>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <numeric>
#include <ostream>
#include <utility>

namespace Orvane::Cli {
namespace {

double Whole(const InferenceTimes& times) {
    return times.copyIn + times.compute + times.copyOut;
}

// The distributions of whole inferences and of each step.
struct SteadyState {
    Distribution inference;
    Distribution copyIn;
    Distribution compute;
    Distribution copyOut;
    double perSecond;
    std::vector<double> quantiles;  // of whole inferences, from 0.5 % to 99.5 % in steps of 0.5 %
};

// Returns the smallest value that at least `perMille` of 1000 values do not exceed. Whole numbers avoid a wrong rank by
// rounding.
double PerMille(const std::vector<double>& ordered, std::size_t perMille) {
    return ordered[(ordered.size() * perMille + 999) / 1000 - 1];
}

std::vector<double> Quantiles(const std::vector<InferenceTimes>& inferences) {
    std::vector<double> ordered;
    std::transform(inferences.begin(), inferences.end(), std::back_inserter(ordered), Whole);
    std::sort(ordered.begin(), ordered.end());
    std::vector<double> quantiles;
    for (std::size_t perMille = 5; perMille < 1000; perMille += 5) {
        quantiles.push_back(PerMille(ordered, perMille));
    }
    return quantiles;
}

template <typename Duration>
Distribution DistributionOf(const std::vector<InferenceTimes>& inferences, Duration duration) {
    std::vector<double> values;
    std::transform(inferences.begin(), inferences.end(), std::back_inserter(values), duration);
    return Distribute(std::move(values));
}

SteadyState SteadyStateOf(const std::vector<InferenceTimes>& inferences) {
    const Distribution whole = DistributionOf(inferences, Whole);
    return {whole,
            DistributionOf(inferences, [](const InferenceTimes& times) { return times.copyIn; }),
            DistributionOf(inferences, [](const InferenceTimes& times) { return times.compute; }),
            DistributionOf(inferences, [](const InferenceTimes& times) { return times.copyOut; }),
            1000 / whole.mean,
            Quantiles(inferences)};
}

std::vector<std::string> Row(const std::string& name, const Distribution& times) {
    std::vector<std::string> row = {name};
    for (const double value : {times.minimum, times.p50, times.p90, times.p99, times.p999, times.maximum, times.mean}) {
        row.push_back(Formatted("%.4f", value));
    }
    return row;
}

std::vector<std::string> Row(const std::string& name, const std::optional<Platform::MemoryUse>& memory) {
    constexpr double kMegabyte = 1e6;
    const auto text = [](uint64_t bytes) { return Formatted("%.1f MB", static_cast<double>(bytes) / kMegabyte); };
    return {name, memory ? text(memory->resident) : "unknown", memory ? text(memory->peak) : "unknown"};
}

Json ToJson(const Distribution& times) {
    return {{"min", times.minimum}, {"p50", times.p50},     {"p90", times.p90},  {"p99", times.p99},
            {"p99_9", times.p999},  {"max", times.maximum}, {"mean", times.mean}};
}

Json WithQuantiles(Json object, const std::vector<double>& quantiles) {
    object["quantiles"] = quantiles;
    return object;
}

Json ToJson(const Platform::Machine& machine, const std::optional<OtherWork>& work) {
    return {{"processor", machine.processor},
            {"cores", machine.cores},
            {"memory_bytes", machine.memory},
            {"system", machine.system},
            {"others", work ? Json(work->others) : Json()},
            {"stolen", work ? Json(work->stolen) : Json()},
            {"disturbed", work && work->IsMuch()}};
}

Json ToJson(const std::optional<Platform::MemoryUse>& memory) {
    return memory ? Json{{"resident_bytes", memory->resident}, {"peak_bytes", memory->peak}} : Json();
}

}  // namespace

Distribution Distribute(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const double sum = std::accumulate(values.begin(), values.end(), 0.0);
    return {values.front(),
            PerMille(values, 500),
            PerMille(values, 900),
            PerMille(values, 990),
            PerMille(values, 999),
            values.back(),
            sum / static_cast<double>(values.size())};
}

std::optional<OtherWork> OtherWorkBetween(const Platform::ProcessorTime& start, const Platform::ProcessorTime& end) {
    constexpr double kLeast = 0.5;  // seconds
    const double whole = end.whole - start.whole;
    if (whole < kLeast) {
        return std::nullopt;
    }
    const double others = (end.busy - start.busy) - (end.own - start.own);
    return OtherWork{std::clamp(others / whole, 0.0, 1.0), std::clamp((end.stolen - start.stolen) / whole, 0.0, 1.0)};
}

void PrintBenchReport(std::ostream& out, const BenchReport& report) {
    std::vector<std::vector<std::string>> start;
    if (report.host) {
        start.push_back({"host process start", report.launch ? Formatted("%.3f ms", *report.launch) : "unknown"});
    }
    start.push_back({"initialisation", Formatted("%.3f ms", report.initialisation)});
    start.push_back({"first inference", Formatted("%.3f ms", Whole(report.firstInference))});
    PrintTable(out, start);

    const SteadyState steady = SteadyStateOf(report.inferences);
    out << "\n"
        << report.inferences.size() << " inferences"
        << (report.interrupted ? " until Ctrl-C"
            : report.hostEnd   ? " until the host process ended"
                               : "")
        << ", " << Formatted("%.1f", steady.perSecond) << " per second\n";
    PrintTable(out, {{"ms", "min", "p50", "p90", "p99", "p99.9", "max", "mean"},
                     Row("inference", steady.inference),
                     Row("copy in", steady.copyIn),
                     Row("compute", steady.compute),
                     Row("copy out", steady.copyOut)});

    std::vector<std::vector<std::string>> memory = {{"memory", "now", "peak"}, Row("orvane", report.ownMemory)};
    if (report.host) {
        memory.push_back(Row("host process", report.hostMemory));
    }
    out << "\n";
    PrintTable(out, memory);
    if (report.otherWork && report.otherWork->IsMuch()) {
        out << Formatted("\nDISTURBED: other programs used %.0f %% of the processors", report.otherWork->others * 100)
            << Formatted(", and other virtual machines %.0f %%.\n", report.otherWork->stolen * 100)
            << "Measure again when the machine is idle.\n";
    }
}

Json BenchReportJson(const BenchReport& report) {
    const SteadyState steady = SteadyStateOf(report.inferences);
    const std::string model = report.model.value_or("");  // deliberately a text, also if only a cache was given
    return {{"model", model},
            {"host", report.host ? Json(*report.host) : Json()},
            {"version", orvane_version()},
            {"date", report.date},
            {"machine", ToJson(report.machine, report.otherWork)},
            {"start_up",
             {{"launch_ms", report.launch ? Json(*report.launch) : Json()},
              {"initialisation_ms", report.initialisation},
              {"first_inference_ms", Whole(report.firstInference)}}},
            {"steady_state",
             {{"warmup", report.warmup},
              {"iterations", report.inferences.size()},
              {"interrupted", report.interrupted || report.hostEnd},
              {"per_second", steady.perSecond},
              {"inference_ms", WithQuantiles(ToJson(steady.inference), steady.quantiles)},
              {"copy_in_ms", ToJson(steady.copyIn)},
              {"compute_ms", ToJson(steady.compute)},
              {"copy_out_ms", ToJson(steady.copyOut)}}},
            {"memory", {{"orvane", ToJson(report.ownMemory)}, {"host", ToJson(report.hostMemory)}}}};
}

}  // namespace Orvane::Cli
