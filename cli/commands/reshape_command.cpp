#include "cli/command.h"

#include "cli/failure.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"

#include <memory>

namespace Orvane::Cli {
namespace {

struct ReshapeOptions {
    ModelOptions model;
    std::string out;
};

void ReshapeModel(const ReshapeOptions& options, std::ostream& err) {
    if (!options.out.ends_with(".xml")) {
        throw WrongUsage("OUT is \"" + options.out + "\", and must end in .xml; the .bin is written beside it");
    }
    Reshape(options.model, options.out, err);
}

}  // namespace

Command ReshapeCommand() {
    const auto options = std::make_shared<ReshapeOptions>();
    return {"reshape",
            "Write a model with fixed shapes, as an .xml and a .bin",
            "orvane reshape detection.onnx fixed.xml --shape 0=1,3,640,640",
            {{"MODEL", &options->model.model, "", "The model file, not encrypted", kRequiredFile},
             {"OUT", &options->out, "", "The .xml file to write; its .bin is written beside it", kRequiredFile},
             ArgumentForShapes(options->model.shapes)},
            [options](std::ostream&, std::ostream& err) { ReshapeModel(*options, err); }};
}

}  // namespace Orvane::Cli
