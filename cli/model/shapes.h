#pragma once

#include "cli/model/model_options.h"

#include <orvane/model_file.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// WHICH=DIMS of the command line: an input, by index or by name, and its shape.
struct ShapeArgument {
    std::string which;
    std::vector<int64_t> shape;
};

// Throws `WrongUsage` when a text is not of that form.
std::vector<ShapeArgument> ParseShapes(const std::vector<std::string>& texts);

// The shapes by the index of the input. Throws `Failure` for a shape that no input has room for, and if an input that
// needs a shape has none: it then shows the argument to give, and an example.
orvane::InputShapes ResolveShapes(const std::vector<ShapeArgument>& arguments,
                                  const std::vector<orvane::Tensor>& inputs);

// The same refusal for the inputs of a loaded model.
void RefuseDynamicInputs(const ModelOptions& options, const std::vector<orvane::Tensor>& inputs);

}  // namespace Orvane::Cli
