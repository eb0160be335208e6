#pragma once

#include "cli/model/model_options.h"

#include <orvane/model_file.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// WHICH=DIMS of the command line: the index or the name of an input, and its shape.
struct ShapeArgument {
    std::string which;
    std::vector<int64_t> shape;
};

// Throws `WrongUsage` if a text does not have that form.
std::vector<ShapeArgument> ParseShapes(const std::vector<std::string>& texts);

// Returns the shapes by the index of the input. Throws `Failure` if a shape does not fit its input, or if an input that
// needs a shape has no shape. The failure then shows the missing argument and an example.
orvane::InputShapes ResolveShapes(const std::vector<ShapeArgument>& arguments,
                                  const std::vector<orvane::Tensor>& inputs);

// Refuses the inputs of a loaded model in the same way.
void RefuseDynamicInputs(const ModelOptions& options, const std::vector<orvane::Tensor>& inputs);

}  // namespace Orvane::Cli
