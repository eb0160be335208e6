#pragma once

#include "cli/model_tensor.h"

#include <nlohmann/json.hpp>
#include <ostream>

namespace Orvane::Cli {

// Members keep the order in which they were added.
using Json = nlohmann::ordered_json;

// What `info` and `run` both say of a tensor; a dynamic dimension is -1.
Json TensorJson(const ModelTensor& tensor);

// Prints one object on one line; bytes of a name that are not UTF-8 are replaced.
void PrintJson(std::ostream& out, const Json& object);

}  // namespace Orvane::Cli
