#pragma once

#include "cli/files/tensor_file.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// A tensor, which is not owned, and the memory for its data.
struct Transfer {
    const orvane::Tensor* tensor;
    std::vector<uint8_t> data;
    std::optional<std::string> path;  // the file for an output
};

// Returns memory with zeros for a tensor's data. Throws `Failure` if the data cannot be copied.
Transfer TransferFor(const orvane::Tensor& tensor);

// Reads the file of every input. Throws `Failure` unless each input is given exactly once and its file fits.
std::vector<Transfer> ReadInputs(const std::vector<TensorFileArgument>& given,
                                 const std::vector<orvane::Tensor>& inputs, const PictureOptions& pictures);

// Allocates memory for the selected outputs, or without arguments for all outputs that can be copied. Throws `Failure`
// if a selected output cannot be copied.
std::vector<Transfer> PrepareOutputs(const std::vector<TensorFileArgument>& arguments,
                                     const std::vector<orvane::Tensor>& outputs);

// Writes each output that has a path; the path "-" is `out`. Throws `Failure`. No file has then changed, unless one of
// the last renames failed.
void WriteOutputs(const std::vector<Transfer>& outputs, std::ostream& out);

// The three steps of an inference, with the data of all inputs and outputs. Each step throws `orvane::Error`.
struct Inference {
    void CopyIn();
    void Compute() { model.Run(); }
    void CopyOut();

    orvane::Model& model;
    std::vector<Transfer> inputs;
    std::vector<Transfer> outputs;
};

}  // namespace Orvane::Cli
