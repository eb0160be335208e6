#include "cli/tensor_file_argument.h"

#include "cli/element_type.h"
#include "cli/failure.h"
#include "platform/path.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>

namespace Orvane::Cli {
namespace {

bool IsIndex(const std::string& which) {
    return which.find_first_not_of("0123456789") == std::string::npos;
}

std::size_t FindTensor(const std::string& which, const std::vector<ModelTensor>& tensors) {
    if (!IsIndex(which)) {
        const auto found = std::find_if(tensors.begin(), tensors.end(),
                                        [&](const ModelTensor& tensor) { return tensor.name == which; });
        return static_cast<std::size_t>(found - tensors.begin());
    }
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(which.data(), which.data() + which.size(), index);
    return error == std::errc() ? std::min(index, tensors.size()) : tensors.size();
}

[[noreturn]] void RefuseUnknown(const std::string& which, const std::vector<ModelTensor>& tensors, TensorType side) {
    std::vector<std::string> hints = {tensors.empty() ? "The model has no " + SideName(side) + "s."
                                                      : "The model has these:"};
    for (const ModelTensor& tensor : tensors) {
        hints.push_back("  " + Label(tensor) + " " + ElementTypeName(tensor.elementType) + " " +
                        ShapeText(tensor.shape));
    }
    throw Failure("the model has no " + SideName(side) + " " + (IsIndex(which) ? which : "\"" + which + "\""), hints);
}

}  // namespace

std::vector<TensorFileArgument> ParseTensorFiles(const std::vector<std::string>& texts) {
    std::vector<TensorFileArgument> arguments;
    for (const std::string& text : texts) {
        const std::size_t split = text.find('=');
        if (split == std::string::npos || split == 0 || split + 1 == text.size()) {
            throw WrongUsage("\"" + text + "\" is not of the form WHICH=FILE, an index or a name and a file");
        }
        arguments.push_back({text.substr(0, split), text.substr(split + 1)});
    }
    return arguments;
}

void CheckFilesDiffer(const std::vector<TensorFileArgument>& arguments) {
    std::set<std::filesystem::path> places;
    for (const TensorFileArgument& argument : arguments) {
        std::error_code ignored;
        const std::filesystem::path path = Platform::PathFromUtf8(argument.path);
        const std::filesystem::path place = std::filesystem::weakly_canonical(path, ignored);
        if (!places.insert(place.empty() ? path : place).second) {
            throw WrongUsage("two outputs go to the same file, " + argument.path);
        }
    }
}

std::vector<std::size_t> FindTensors(const std::vector<TensorFileArgument>& arguments,
                                     const std::vector<ModelTensor>& tensors, TensorType side) {
    std::vector<std::size_t> places;
    for (const TensorFileArgument& argument : arguments) {
        const std::size_t place = FindTensor(argument.which, tensors);
        if (place == tensors.size()) {
            RefuseUnknown(argument.which, tensors, side);
        }
        if (std::find(places.begin(), places.end(), place) != places.end()) {
            throw Failure(Label(tensors[place]) + " is given twice");
        }
        places.push_back(place);
    }
    return places;
}

}  // namespace Orvane::Cli
