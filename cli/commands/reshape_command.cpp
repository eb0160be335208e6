#include "cli/command.h"

#include "cli/failure.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"

#include <memory>

namespace Orvane::Cli {
namespace {

struct ReshapeOptions {
    std::string model;
    std::string out;
    std::vector<std::string> shapes;
};

void ReshapeModel(const ReshapeOptions& options, std::ostream& err) {
    if (!options.out.ends_with(".xml")) {
        throw WrongUsage("OUT is \"" + options.out + "\", and must end in .xml; the .bin is written beside it");
    }
    ModelOptions model;
    model.model = options.model;
    Reshape(model, ParseShapes(options.shapes), options.out, err);
}

}  // namespace

Command ReshapeCommand() {
    const auto options = std::make_shared<ReshapeOptions>();
    return {"reshape",
            "Write a model with fixed shapes, as an .xml and a .bin",
            "orvane reshape detection.onnx fixed.xml --shape 0=1,3,640,640",
            {{"MODEL", &options->model, "", "The model file, not encrypted", kRequiredFile},
             {"OUT", &options->out, "", "The .xml file to write; its .bin is written beside it", kRequiredFile},
             ArgumentForShapes(options->shapes)},
            [options](std::ostream&, std::ostream& err) { ReshapeModel(*options, err); }};
}

}  // namespace Orvane::Cli
