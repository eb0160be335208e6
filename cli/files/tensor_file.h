#pragma once

#include "cli/files/picture_input.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// WHICH=FILE of the command line: a tensor, by index or by name, and the file that it is read from or written to.
struct TensorFileArgument {
    std::string which;  // empty for all that an .npz file holds
    std::string path;
};

// Throws `WrongUsage` when a text is not of that form.
std::vector<TensorFileArgument> ParseTensorFiles(const std::vector<std::string>& texts);

// Throws `WrongUsage` when two arguments name the same file, or one a kind of file that is read only.
void CheckOutputFiles(const std::vector<TensorFileArgument>& arguments);

// For each index or name its tensor among `tensors`, which are all of one side. Throws `Failure` when there is no such
// tensor or one is named twice.
std::vector<const orvane::Tensor*> FindTensors(const std::vector<std::string>& named,
                                               const std::vector<orvane::Tensor>& tensors, orvane::Side side);

// The ending of a path says how a file holds a tensor's data: as an .npy array, in an .npz archive under the tensor's
// name, as a .png or .jpg picture, or else as bare bytes. The path "-" is the standard input, whose first bytes say it,
// or the standard output, which gets an .npy array.

// Puts in the place of an .npz file without a tensor all that it holds, each array for the tensor of its name. Throws
// `Failure` when it cannot be read.
std::vector<TensorFileArgument> WithArrays(const std::vector<TensorFileArgument>& arguments);

// Reads the data of `tensor`, exactly as many bytes as it holds. Throws `Failure` when the file cannot be read or
// holds another element type, shape or number of bytes.
std::vector<uint8_t> ReadTensorFile(const std::string& path, const orvane::Tensor& tensor,
                                    const PictureOptions& pictures);

// The bytes of the file before the data of `tensor`; none for bare bytes.
std::string TensorFileHeader(const std::string& path, const orvane::Tensor& tensor);

}  // namespace Orvane::Cli
