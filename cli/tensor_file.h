#pragma once

#include "cli/model_tensor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// A tensor's data lies in a file either as an .npy array, when the path ends in ".npy", or else as its bare bytes.

// Reads the data of `tensor`, exactly as many bytes as it holds. Throws `Failure` when the file cannot be read or
// holds another element type, shape or number of bytes.
std::vector<uint8_t> ReadTensorFile(const std::string& path, const ModelTensor& tensor);

// What stands in the file before the data that `tensor` gave; empty for bare bytes.
std::string TensorFileHeader(const std::string& path, const ModelTensor& tensor);

}  // namespace Orvane::Cli
