#pragma once

#include "cli/files/picture_input.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// The formats of the files with a tensor's data.
enum class FileFormat : uint8_t {
    Bytes,
    Npy,
    Npz,
    Picture,
    OtherPicture,  // of a kind that this program cannot read
};

// Returns the format according to the ending of the path.
FileFormat FormatOf(const std::string& path);

// WHICH=FILE of the command line: the index or the name of a tensor, and the file for its data.
struct TensorFileArgument {
    std::string which;  // empty: all arrays of an .npz file
    std::string path;
};

// Throws `WrongUsage` if a text does not have that form.
std::vector<TensorFileArgument> ParseTensorFiles(const std::vector<std::string>& texts);

// Throws `WrongUsage` if two arguments name the same file, or if an argument names a format that cannot be written.
void CheckOutputFiles(const std::vector<TensorFileArgument>& arguments);

// Finds the tensor of each index or name among `tensors`, which are all on one side. Throws `Failure` if there is no
// such tensor, or if a tensor is named twice.
std::vector<const orvane::Tensor*> FindTensors(const std::vector<std::string>& named,
                                               const std::vector<orvane::Tensor>& tensors, orvane::Side side);

// In the functions below the path "-" is the standard input, whose first bytes determine the format, or the standard
// output, which receives an .npy array.

// Replaces an .npz file without a tensor with all its arrays: each array is for the input of its name. Throws
// `Failure` if the file cannot be read, or if there is no such input.
std::vector<TensorFileArgument> WithArrays(const std::vector<TensorFileArgument>& arguments,
                                           const std::vector<orvane::Tensor>& inputs);

// Reads all data of `tensor`. Throws `Failure` if the file cannot be read, or has another element type, shape or number
// of bytes.
std::vector<uint8_t> ReadTensorFile(const std::string& path, const orvane::Tensor& tensor,
                                    const PictureOptions& pictures);

// Returns the bytes of the file before the data of `tensor`; empty for plain bytes.
std::string TensorFileHeader(const std::string& path, const orvane::Tensor& tensor);

}  // namespace Orvane::Cli
