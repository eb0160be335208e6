#include "cli/command.h"

#include "cli/model/load_model.h"
#include "cli/model/model_options.h"
#include "cli/printable.h"
#include "cli/report/print.h"

#include <memory>

namespace Orvane::Cli {
namespace {

struct InfoOptions {
    ModelOptions model;
    bool json = false;
};

Json ToJson(const std::vector<orvane::Tensor>& tensors) {
    Json list = Json::array();
    for (const orvane::Tensor& tensor : tensors) {
        Json entry = TensorJson(tensor);
        entry["bytes"] = tensor.byteSize == 0 ? Json() : Json(tensor.byteSize);
        list.push_back(entry);
    }
    return list;
}

void AddRows(const std::vector<orvane::Tensor>& tensors, std::vector<std::vector<std::string>>& rows) {
    for (const orvane::Tensor& tensor : tensors) {
        std::vector<std::string>& row = rows.emplace_back(TensorCells(tensor));
        row.insert(row.begin(), SideName(tensor.side));
        row.push_back((tensor.byteSize == 0 ? "?" : std::to_string(tensor.byteSize)) + " bytes");
    }
}

void Info(const InfoOptions& options, std::ostream& out, std::ostream& err) {
    const LogLines lines(options.model.logLevel, err);
    const LoadedModel loaded = LoadModel(options.model, err);
    const orvane::Model& model = loaded.model;
    if (options.json) {
        PrintJson(out, {{"inputs", ToJson(model.Inputs())}, {"outputs", ToJson(model.Outputs())}});
        return;
    }
    std::vector<std::vector<std::string>> rows;
    AddRows(model.Inputs(), rows);
    AddRows(model.Outputs(), rows);
    PrintTable(out, rows);
}

}  // namespace

Command InfoCommand() {
    const auto options = std::make_shared<InfoOptions>();
    return {"info", "Show a model's inputs and outputs", "orvane info face.tflite",
            ArgumentsForModel(options->model, {{"--json", &options->json, "", "Print one JSON object"}}),
            [options](std::ostream& out, std::ostream& err) { Info(*options, out, err); }};
}

}  // namespace Orvane::Cli
