#pragma once

#include "cli/files/tensor_file.h"

#include <orvane/orvane.hpp>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Cli {

// A tensor, not owned, and the memory that its data is copied from or to.
struct Transfer {
    const orvane::Tensor* tensor;
    std::vector<uint8_t> data;
    std::optional<std::string> path;  // of the file that an output goes to
};

// Reads the file of every input. Throws `Failure` unless each input is given exactly once and its file fits.
std::vector<Transfer> ReadInputs(const std::vector<TensorFileArgument>& given,
                                 const std::vector<orvane::Tensor>& inputs, const PictureOptions& pictures);

// Memory for the outputs that are asked for, or without arguments for all that can be copied. Throws `Failure` when
// one that is asked for cannot be.
std::vector<Transfer> PrepareOutputs(const std::vector<TensorFileArgument>& arguments,
                                     const std::vector<orvane::Tensor>& outputs);

// Writes each output that has a path, to `out` for "-". Throws `Failure`; unless it is a last renaming that fails, no
// file has then changed.
void WriteOutputs(const std::vector<Transfer>& outputs, std::ostream& out);

// The three steps of an inference with all the data that goes in and out. Each throws `orvane::Error`.
struct Inference {
    void CopyIn();
    void Compute() { model.Run(); }
    void CopyOut();

    orvane::Model& model;
    std::vector<Transfer> inputs;
    std::vector<Transfer> outputs;
};

}  // namespace Orvane::Cli
