#include "cli/commands/commands.h"

#include "cli/failure.h"
#include "cli/model/load_model.h"
#include "cli/model/model_options.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace Orvane::Cli {
namespace {

struct ReshapeOptions {
    std::string model;
    std::string out;
    std::vector<std::string> shapes;
};

void ReshapeModel(const ReshapeOptions& options, std::ostream& err) {
    RefuseEmpty("MODEL", options.model, "the path of a model file");
    if (!options.out.ends_with(".xml")) {
        throw WrongUsage("OUT is \"" + options.out + "\", and must end in .xml; a .bin is written beside it");
    }
    ModelOptions model;
    model.model = options.model;
    Reshape(model, ParseShapes(options.shapes), options.out, err);
}

}  // namespace

Command AddReshapeCommand(CLI::App& app) {
    const auto options = std::make_shared<ReshapeOptions>();
    CLI::App* command = app.add_subcommand("reshape", "Write a model with fixed shapes, as an .xml and a .bin");
    command->add_option("MODEL", options->model, "Model file, plain")->required()->type_name("");
    command->add_option("OUT", options->out, "File to write, an .xml; its .bin is written beside it")
        ->required()
        ->type_name("");
    AddShapeOption(*command, options->shapes);
    return {command, [options](std::ostream&, std::ostream& err) { ReshapeModel(*options, err); }};
}

}  // namespace Orvane::Cli
