#include "cli/report/run_report.h"

#include "cli/failure.h"
#include "cli/printable.h"
#include "cli/report/print.h"
#include "cli/report/tensor_summary.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <ostream>

namespace Orvane::Cli {
namespace {

std::string Text(double value) {
    if (std::isnan(value)) {
        return "nan";  // the mean of both infinities; some systems print a sign
    }
    return Formatted("%.6g", value);
}

std::string Text(const Number& number) {
    const auto* integer = std::get_if<int64_t>(&number);
    return integer != nullptr ? std::to_string(*integer) : Text(std::get<double>(number));
}

// JSON has no infinities and no NaN, so these become texts.
Json ToJson(double value) {
    return std::isfinite(value) ? Json(value) : Json(Text(value));
}

Json ToJson(const Number& number) {
    const auto* integer = std::get_if<int64_t>(&number);
    return integer != nullptr ? Json(*integer) : ToJson(std::get<double>(number));
}

std::vector<std::string> SummaryRow(const Transfer& transfer) {
    std::vector<std::string> row = TensorCells(*transfer.tensor);
    const TensorSummary summary = Summarise(transfer.tensor->type, transfer.data);
    if (const auto& range = summary.range) {
        row.insert(row.end(), {"min " + Text(range->minimum), "max " + Text(range->maximum),
                               "mean " + Text(range->mean), "max at " + std::to_string(range->indexOfMaximum)});
    } else {
        row.insert(row.end(), {"no numbers", "", "", ""});
    }
    row.push_back(summary.notNumbers == 0 ? "" : std::to_string(summary.notNumbers) + " NaN");
    return row;
}

void AddSummary(const Transfer& transfer, Json& entry) {
    const TensorSummary summary = Summarise(transfer.tensor->type, transfer.data);
    const auto& range = summary.range;
    entry["minimum"] = range ? ToJson(range->minimum) : Json();
    entry["maximum"] = range ? ToJson(range->maximum) : Json();
    entry["mean"] = range ? ToJson(range->mean) : Json();
    entry["index_of_maximum"] = range ? Json(range->indexOfMaximum) : Json();
    entry["nan_count"] = summary.notNumbers;
}

// Returns the label of an element by its place in the last dimension; no value if the labels do not fit this output.
std::optional<std::string> LabelOf(const TopOptions& top, const orvane::Tensor& tensor, uint64_t index) {
    const bool hasLabels =
        !tensor.shape.empty() && !top.labels.empty() && static_cast<uint64_t>(tensor.shape.back()) == top.labels.size();
    return hasLabels ? std::optional(top.labels[index % top.labels.size()]) : std::nullopt;
}

void PrintTop(std::ostream& out, const Transfer& transfer, const TopOptions& top) {
    const orvane::Tensor& tensor = *transfer.tensor;
    PrintTable(out, {TensorCells(tensor)});
    std::vector<std::vector<std::string>> rows;
    for (const RankedElement& element : Largest(tensor.type, transfer.data, top.count)) {
        rows.push_back({"", std::to_string(element.index), Text(element.value),
                        Printable(LabelOf(top, tensor, element.index).value_or(""))});
    }
    PrintTable(out, rows);
}

Json TopJson(const Transfer& transfer, const TopOptions& top) {
    Json list = Json::array();
    for (const RankedElement& element : Largest(transfer.tensor->type, transfer.data, top.count)) {
        Json entry = {{"index", element.index}, {"value", ToJson(element.value)}};
        if (const std::optional<std::string> label = LabelOf(top, *transfer.tensor, element.index)) {
            entry["label"] = *label;
        }
        list.push_back(entry);
    }
    return list;
}

// Either all selected outputs have files, or no output has a file.
bool WroteFiles(const RunReport& report) {
    return !report.transfers.empty() && report.transfers.front().path;
}

// Returns the outputs whose data cannot be copied: they are not in the summary.
std::vector<const orvane::Tensor*> LeftOut(const RunReport& report) {
    std::vector<const orvane::Tensor*> leftOut;
    for (const orvane::Tensor& output : report.outputs) {
        if (!WroteFiles(report) && !output.problem.empty()) {
            leftOut.push_back(&output);
        }
    }
    return leftOut;
}

}  // namespace

void CheckLabels(const TopOptions& top, const std::vector<orvane::Tensor>& outputs) {
    const bool fits = std::any_of(outputs.begin(), outputs.end(), [&](const orvane::Tensor& output) {
        return LabelOf(top, output, 0) != std::nullopt;
    });
    if (!top.labels.empty() && !fits) {
        throw Failure("--labels has " + std::to_string(top.labels.size()) +
                          " lines, and no output has as many elements in its last dimension",
                      {"Give a file with a line for each; orvane info shows the shapes."});
    }
}

void PrintReport(std::ostream& out, const RunReport& report) {
    std::vector<std::vector<std::string>> rows;
    for (const Transfer& transfer : report.transfers) {
        if (report.top.count > 0) {
            PrintTop(out, transfer, report.top);
        } else if (!transfer.path) {
            rows.push_back(SummaryRow(transfer));
        }
    }
    PrintTable(out, rows);
    for (const orvane::Tensor* tensor : LeftOut(report)) {
        out << "not shown: " << Printable(tensor->problem) << "\n";
    }
    if (report.repeat > 1) {
        out << report.repeat << " inferences in " << Text(report.milliseconds) << " ms, "
            << Text(report.milliseconds / report.repeat) << " ms each\n";
    }
}

void PrintJsonReport(std::ostream& out, const RunReport& report) {
    Json outputs = Json::array();
    for (const Transfer& transfer : report.transfers) {
        Json entry = TensorJson(*transfer.tensor);
        if (transfer.path) {
            entry["file"] = *transfer.path;
        } else {
            AddSummary(transfer, entry);
        }
        if (report.top.count > 0) {
            entry["top"] = TopJson(transfer, report.top);
        }
        outputs.push_back(entry);
    }
    for (const orvane::Tensor* tensor : LeftOut(report)) {
        Json entry = TensorJson(*tensor);
        entry["not_shown"] = tensor->problem;
        outputs.push_back(entry);
    }
    PrintJson(out, {{"outputs", outputs},
                    {"repeat", report.repeat},
                    {"total_ms", report.milliseconds},
                    {"mean_ms", report.milliseconds / report.repeat}});
}

}  // namespace Orvane::Cli
