#pragma once

#include "cli/model/model_options.h"
#include "cli/model/model_tensor.h"

#include <orvane/model_file.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// WHICH=DIMENSIONS of the command line: an input, by index or by name, and its shape.
struct ShapeArgument {
    std::string which;
    std::vector<int64_t> shape;
};

// Throws `WrongUsage` when a text is not of that form.
std::vector<ShapeArgument> ParseShapes(const std::vector<std::string>& texts);

// The shapes by the index of the input. Throws `Failure` for one that goes with no input, and when an input that needs
// a shape has none: it names each such dimension, and the arguments with which the command would work.
orvane::InputShapes ResolveShapes(const std::string& model, const std::vector<ShapeArgument>& arguments,
                                  const std::vector<ModelTensor>& inputs);

// The same refusal for inputs of a loaded model that nobody gave shapes for.
void RefuseDynamicInputs(const ModelOptions& options, const std::vector<ModelTensor>& inputs);

}  // namespace Orvane::Cli
