#include "cli/transfers.h"

#include "cli/failure.h"
#include "cli/tensor_file.h"
#include "cli/whole_file.h"

#include <algorithm>
#include <deque>

namespace Orvane::Cli {
namespace {

void CheckAllGiven(const std::vector<ModelTensor>& inputs, const std::vector<std::size_t>& places) {
    std::string missing;
    for (const ModelTensor& input : inputs) {
        if (std::find(places.begin(), places.end(), input.index) == places.end()) {
            missing += (missing.empty() ? "" : ", ") + Label(input);
        }
    }
    if (!missing.empty()) {
        throw Failure("the model also needs " + missing, {"Give each with --input WHICH=FILE."});
    }
}

void CheckCopyable(const ModelTensor& tensor) {
    if (const std::string obstacle = tensor.Obstacle(); !obstacle.empty()) {
        throw Failure(Label(tensor) + " cannot be copied: " + obstacle);
    }
}

}  // namespace

std::vector<Transfer> ReadInputs(const std::vector<TensorFileArgument>& arguments,
                                 const std::vector<ModelTensor>& inputs) {
    const std::vector<std::size_t> places = FindTensors(arguments, inputs, TensorTypeInput);
    CheckAllGiven(inputs, places);
    std::vector<Transfer> transfers;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const ModelTensor& tensor = inputs[places[i]];
        CheckCopyable(tensor);
        transfers.push_back({&tensor, ReadTensorFile(arguments[i].path, tensor), ""});
    }
    return transfers;
}

std::vector<Transfer> PrepareOutputs(const std::vector<TensorFileArgument>& arguments,
                                     const std::vector<ModelTensor>& outputs) {
    std::vector<Transfer> transfers;
    const std::vector<std::size_t> places = FindTensors(arguments, outputs, TensorTypeOutput);
    for (std::size_t i = 0; i < places.size(); ++i) {
        CheckCopyable(outputs[places[i]]);
        transfers.push_back({&outputs[places[i]], {}, arguments[i].path});
    }
    for (const ModelTensor& tensor : outputs) {
        if (arguments.empty() && tensor.Obstacle().empty()) {
            transfers.push_back({&tensor, {}, ""});
        }
    }
    for (Transfer& transfer : transfers) {
        transfer.data.resize(transfer.tensor->Bytes());
    }
    return transfers;
}

void WriteOutputs(const std::vector<Transfer>& outputs) {
    std::deque<WholeFile> files;
    for (const Transfer& output : outputs) {
        const std::string header = TensorFileHeader(output.path, *output.tensor);
        WholeFile& file = files.emplace_back(output.path);
        file.Write(header.data(), header.size());
        file.Write(output.data.data(), output.data.size());
        file.Close();
    }
    for (WholeFile& file : files) {
        file.Commit();
    }
}

}  // namespace Orvane::Cli
