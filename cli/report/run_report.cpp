#include "cli/report/run_report.h"

#include "cli/model/model_tensor.h"
#include "cli/report/print.h"
#include "cli/report/tensor_summary.h"

#include <cmath>
#include <cstdio>
#include <ostream>

namespace Orvane::Cli {
namespace {

std::string Text(double value) {
    if (std::isnan(value)) {
        return "nan";  // the mean of both infinities; some systems print a sign
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string Text(const Number& number) {
    const auto* integer = std::get_if<int64_t>(&number);
    return integer != nullptr ? std::to_string(*integer) : Text(std::get<double>(number));
}

// JSON has no infinities; they become texts.
Json ToJson(double value) {
    return std::isfinite(value) ? Json(value) : Json(Text(value));
}

Json ToJson(const Number& number) {
    const auto* integer = std::get_if<int64_t>(&number);
    return integer != nullptr ? Json(*integer) : ToJson(std::get<double>(number));
}

std::vector<std::string> SummaryRow(const Transfer& transfer) {
    const ModelTensor& tensor = *transfer.tensor;
    std::vector<std::string> row = {std::to_string(tensor.index), Printable(tensor.name),
                                    ElementTypeName(tensor.elementType), ShapeText(tensor.shape)};
    const TensorSummary summary = Summarise(tensor.elementType, transfer.data);
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
    const TensorSummary summary = Summarise(transfer.tensor->elementType, transfer.data);
    const auto& range = summary.range;
    entry["minimum"] = range ? ToJson(range->minimum) : Json();
    entry["maximum"] = range ? ToJson(range->maximum) : Json();
    entry["mean"] = range ? ToJson(range->mean) : Json();
    entry["index_of_maximum"] = range ? Json(range->indexOfMaximum) : Json();
    entry["nan_count"] = summary.notNumbers;
}

// Outputs go to files either all that were asked for, or none at all.
bool WroteFiles(const RunReport& report) {
    return !report.transfers.empty() && report.transfers.front().path;
}

// The outputs that a summary leaves out, because their data cannot be copied.
std::vector<const ModelTensor*> LeftOut(const RunReport& report) {
    std::vector<const ModelTensor*> leftOut;
    for (const ModelTensor& output : report.outputs) {
        if (!WroteFiles(report) && output.Obstacle()) {
            leftOut.push_back(&output);
        }
    }
    return leftOut;
}

}  // namespace

void PrintReport(std::ostream& out, const RunReport& report) {
    std::vector<std::vector<std::string>> rows;
    for (const Transfer& transfer : report.transfers) {
        if (!transfer.path) {
            rows.push_back(SummaryRow(transfer));
        }
    }
    PrintTable(out, rows);
    for (const ModelTensor* tensor : LeftOut(report)) {
        out << Label(*tensor) << " is not shown: " << *tensor->Obstacle() << "\n";
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
        outputs.push_back(entry);
    }
    for (const ModelTensor* tensor : LeftOut(report)) {
        Json entry = TensorJson(*tensor);
        entry["not_shown"] = *tensor->Obstacle();
        outputs.push_back(entry);
    }
    PrintJson(out, {{"outputs", outputs},
                    {"repeat", report.repeat},
                    {"total_ms", report.milliseconds},
                    {"mean_ms", report.milliseconds / report.repeat}});
}

}  // namespace Orvane::Cli
