#pragma once

#include "cli/model_tensor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// WHICH=FILE of the command line: a tensor, by index or by name, and the file that it is read from or written to.
struct TensorFileArgument {
    std::string which;
    std::string path;
};

// Throws `WrongUsage` when a text is not of that form.
std::vector<TensorFileArgument> ParseTensorFiles(const std::vector<std::string>& texts);

// Throws `WrongUsage` when two arguments name the same file.
void CheckFilesDiffer(const std::vector<TensorFileArgument>& arguments);

// For each argument the place of its tensor in `tensors`, which are all of one side. Throws `Failure` when there is
// no such tensor or one is named twice.
std::vector<std::size_t> FindTensors(const std::vector<TensorFileArgument>& arguments,
                                     const std::vector<ModelTensor>& tensors, TensorType side);

}  // namespace Orvane::Cli
