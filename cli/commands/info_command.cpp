#include "cli/commands/commands.h"

#include "cli/model/load_model.h"
#include "cli/model/model_options.h"
#include "cli/model/model_tensor.h"
#include "cli/report/print.h"

#include <memory>

namespace Orvane::Cli {
namespace {

struct InfoOptions {
    ModelOptions model;
    bool json = false;
};

Json ToJson(const std::vector<ModelTensor>& tensors) {
    Json list = Json::array();
    for (const ModelTensor& tensor : tensors) {
        Json entry = TensorJson(tensor);
        entry["bytes"] = tensor.Obstacle() ? Json() : Json(tensor.Bytes());
        list.push_back(entry);
    }
    return list;
}

void AddRows(const std::vector<ModelTensor>& tensors, std::vector<std::vector<std::string>>& rows) {
    for (const ModelTensor& tensor : tensors) {
        rows.push_back({SideName(tensor.side), std::to_string(tensor.index), Printable(tensor.name),
                        ElementTypeName(tensor.elementType), ShapeText(tensor.shape),
                        (tensor.Obstacle() ? "?" : std::to_string(tensor.Bytes())) + " bytes"});
    }
}

void Info(const InfoOptions& options, std::ostream& out, std::ostream& err) {
    const LogLines lines(options.model.logLevel, err);
    const LoadedModel loaded = LoadModel(options.model, err);
    const orvane::Model& model = loaded.model;
    const std::vector<ModelTensor> inputs = TensorsOf(model, TensorTypeInput);
    const std::vector<ModelTensor> outputs = TensorsOf(model, TensorTypeOutput);
    if (options.json) {
        PrintJson(out, {{"inputs", ToJson(inputs)}, {"outputs", ToJson(outputs)}});
        return;
    }
    std::vector<std::vector<std::string>> rows;
    AddRows(inputs, rows);
    AddRows(outputs, rows);
    PrintTable(out, rows);
}

}  // namespace

Command InfoCommand() {
    const auto options = std::make_shared<InfoOptions>();
    return {"info", "Show a model's inputs and outputs",
            Joined(ArgumentsForModel(options->model), {{"--json", &options->json, "", "Print one JSON object"}}),
            [options](std::ostream& out, std::ostream& err) { Info(*options, out, err); }};
}

}  // namespace Orvane::Cli
