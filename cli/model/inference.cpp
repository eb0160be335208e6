#include "cli/model/inference.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "platform/whole_file.h"

#include <algorithm>
#include <deque>
#include <ostream>
#include <span>

namespace Orvane::Cli {
namespace {

void CheckAllGiven(const std::vector<orvane::Tensor>& inputs, const std::vector<const orvane::Tensor*>& given) {
    std::string missing;
    for (const orvane::Tensor& input : inputs) {
        if (std::find(given.begin(), given.end(), &input) == given.end()) {
            missing += (missing.empty() ? "" : ", ") + input.Label();
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

void CheckCopyable(const orvane::Tensor& tensor) {
    if (!tensor.problem.empty()) {
        throw Failure(tensor.problem);
    }
}

}  // namespace

Transfer TransferFor(const orvane::Tensor& tensor) {
    CheckCopyable(tensor);
    return {&tensor, std::vector<uint8_t>(static_cast<std::size_t>(tensor.byteSize)), std::nullopt};
}

std::vector<Transfer> ReadInputs(const std::vector<TensorFileArgument>& given,
                                 const std::vector<orvane::Tensor>& inputs, const PictureOptions& pictures) {
    const std::vector<TensorFileArgument> arguments = WithArrays(given, inputs);
    const std::vector<const orvane::Tensor*> found = FindTensors(NamesOf(arguments), inputs, orvane::Side::Input);
    CheckAllGiven(inputs, found);
    std::vector<Transfer> transfers;
    for (std::size_t i = 0; i < found.size(); ++i) {
        CheckCopyable(*found[i]);
        transfers.push_back({found[i], ReadTensorFile(arguments[i].path, *found[i], pictures), std::nullopt});
    }
    return transfers;
}

std::vector<Transfer> PrepareOutputs(const std::vector<TensorFileArgument>& arguments,
                                     const std::vector<orvane::Tensor>& outputs) {
    std::vector<Transfer> transfers;
    const std::vector<const orvane::Tensor*> named = FindTensors(NamesOf(arguments), outputs, orvane::Side::Output);
    for (std::size_t i = 0; i < named.size(); ++i) {
        transfers.push_back(TransferFor(*named[i]));
        transfers.back().path = arguments[i].path;
    }
    for (const orvane::Tensor& tensor : outputs) {
        if (arguments.empty() && tensor.problem.empty()) {
            transfers.push_back(TransferFor(tensor));
        }
    }
    return transfers;
}

void WriteOutputs(const std::vector<Transfer>& outputs, std::ostream& out) {
    std::deque<Platform::WholeFile> files;
    for (const Transfer& output : outputs) {
        if (!output.path) {
            continue;
        }
        const std::string header = TensorFileHeader(*output.path, *output.tensor);
        if (IsStandard(*output.path)) {
            out << header;
            out.write(reinterpret_cast<const char*>(output.data.data()),
                      static_cast<std::streamsize>(output.data.size()));
            continue;
        }
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
