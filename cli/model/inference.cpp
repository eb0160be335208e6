#include "cli/model/inference.h"

#include "cli/failure.h"
#include "platform/whole_file.h"

#include <algorithm>
#include <deque>
#include <span>

namespace Orvane::Cli {
namespace {

void CheckAllGiven(const std::vector<ModelTensor>& inputs, const std::vector<const ModelTensor*>& given) {
    std::string missing;
    for (const ModelTensor& input : inputs) {
        if (std::find(given.begin(), given.end(), &input) == given.end()) {
            missing += (missing.empty() ? "" : ", ") + Label(input);
        }
    }
    if (!missing.empty()) {
        throw Failure("the model also needs " + missing, {"Give each with --input WHICH=FILE."});
    }
}

std::vector<std::string> NamesOf(const std::vector<TensorFileArgument>& arguments) {
    std::vector<std::string> names;
    for (const TensorFileArgument& argument : arguments) {
        names.push_back(argument.which);
    }
    return names;
}

void CheckCopyable(const ModelTensor& tensor) {
    if (const std::optional<std::string> obstacle = tensor.Obstacle()) {
        throw Failure(Label(tensor) + " cannot be copied: " + *obstacle);
    }
}

}  // namespace

std::vector<Transfer> ReadInputs(const std::vector<TensorFileArgument>& given, const std::vector<ModelTensor>& inputs,
                                 const PictureOptions& pictures) {
    const std::vector<TensorFileArgument> arguments = WithArrays(given);
    const std::vector<const ModelTensor*> found = FindTensors(NamesOf(arguments), inputs, TensorTypeInput);
    CheckAllGiven(inputs, found);
    std::vector<Transfer> transfers;
    for (std::size_t i = 0; i < found.size(); ++i) {
        CheckCopyable(*found[i]);
        transfers.push_back({found[i], ReadTensorFile(arguments[i].path, *found[i], pictures), std::nullopt});
    }
    return transfers;
}

std::vector<Transfer> PrepareOutputs(const std::vector<TensorFileArgument>& arguments,
                                     const std::vector<ModelTensor>& outputs) {
    std::vector<Transfer> transfers;
    const std::vector<const ModelTensor*> named = FindTensors(NamesOf(arguments), outputs, TensorTypeOutput);
    for (std::size_t i = 0; i < named.size(); ++i) {
        CheckCopyable(*named[i]);
        transfers.push_back({named[i], {}, arguments[i].path});
    }
    for (const ModelTensor& tensor : outputs) {
        if (arguments.empty() && !tensor.Obstacle()) {
            transfers.push_back({&tensor, {}, std::nullopt});
        }
    }
    for (Transfer& transfer : transfers) {
        transfer.data.resize(transfer.tensor->Bytes());
    }
    return transfers;
}

void WriteOutputs(const std::vector<Transfer>& outputs) {
    std::deque<Platform::WholeFile> files;
    for (const Transfer& output : outputs) {
        if (!output.path) {
            continue;
        }
        const std::string header = TensorFileHeader(*output.path, *output.tensor);
        Platform::WholeFile& file = files.emplace_back(*output.path);
        file.Write(header.data(), header.size());
        file.Write(output.data.data(), output.data.size());
        file.Close();
    }
    for (Platform::WholeFile& file : files) {
        file.Commit();
    }
}

void Inference::CopyIn() {
    for (const Transfer& input : inputs) {
        model.Set(input.tensor->index, std::as_bytes(std::span(input.data)));
    }
}

void Inference::CopyOut() {
    for (Transfer& output : outputs) {
        model.Get(output.tensor->index, std::as_writable_bytes(std::span(output.data)));
    }
}

}  // namespace Orvane::Cli
