#include "cli/files/tensor_file.h"

#include "cli/failure.h"
#include "cli/files/npy.h"
#include "platform/input_file.h"
#include "platform/path.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <string_view>

namespace Orvane::Cli {
namespace {

bool IsIndex(const std::string& which) {
    return which.find_first_not_of("0123456789") == std::string::npos;
}

// Null when there is no such tensor.
const ModelTensor* FindTensor(const std::string& which, const std::vector<ModelTensor>& tensors) {
    if (IsIndex(which)) {
        std::size_t index = 0;
        const auto [end, error] = std::from_chars(which.data(), which.data() + which.size(), index);
        return error == std::errc() && index < tensors.size() ? &tensors[index] : nullptr;
    }
    const auto found =
        std::find_if(tensors.begin(), tensors.end(), [&](const ModelTensor& tensor) { return tensor.name == which; });
    return found != tensors.end() ? &*found : nullptr;
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

bool IsNpy(std::string_view path) {
    constexpr std::string_view kEnding = ".npy";
    return path.size() >= kEnding.size() && path.substr(path.size() - kEnding.size()) == kEnding;
}

std::string Describe(DataType type, const std::vector<int64_t>& shape) {
    return ElementTypeName(type) + " " + ShapeText(shape);
}

void CheckNpy(std::ifstream& file, const std::string& path, const ModelTensor& tensor) {
    NpyArray array;
    try {
        array = ReadNpyHeader(file);
    } catch (const UnreadableNpy& reason) {
        throw Failure(path + " is not a readable .npy file: " + reason.what());
    }
    if (array.elementType != tensor.elementType || array.shape != tensor.shape) {
        throw Failure(path + " holds " + Describe(array.elementType, array.shape) + ", but " + Label(tensor) + " is " +
                      Describe(tensor.elementType, tensor.shape));
    }
}

// How many bytes of data the file holds, `read` of which have been read, for a message.
std::string BytesHeld(std::ifstream& file, std::size_t read) {
    const auto here = file.tellg();
    const auto end = file.seekg(0, std::ios::end).tellg();
    if (end >= here && end != std::ifstream::pos_type(-1)) {
        return std::to_string(static_cast<uint64_t>(end - here) + read);
    }
    return "more than " + std::to_string(read);  // a pipe does not tell
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

std::vector<const ModelTensor*> FindTensors(const std::vector<std::string>& named,
                                            const std::vector<ModelTensor>& tensors, TensorType side) {
    std::vector<const ModelTensor*> found;
    for (const std::string& which : named) {
        const ModelTensor* tensor = FindTensor(which, tensors);
        if (tensor == nullptr) {
            RefuseUnknown(which, tensors, side);
        }
        if (std::find(found.begin(), found.end(), tensor) != found.end()) {
            throw Failure(Label(*tensor) + " is given twice");
        }
        found.push_back(tensor);
    }
    return found;
}

std::vector<uint8_t> ReadTensorFile(const std::string& path, const ModelTensor& tensor) {
    std::ifstream file = Platform::OpenInputFile(path);
    const bool isNpy = IsNpy(path);
    if (isNpy) {
        CheckNpy(file, path, tensor);
    }
    std::vector<uint8_t> data(tensor.Bytes());
    const std::size_t read = Platform::ReadUpTo(file, path, data.data(), data.size());
    char beyond = 0;
    const bool isCut = read < data.size();
    if (isCut || Platform::ReadUpTo(file, path, &beyond, 1) != 0) {
        const std::string held = isCut ? std::to_string(read) : BytesHeld(file, read + 1);
        throw Failure(
            path + " holds " + held + " bytes of data, but " + Label(tensor) + " takes " + std::to_string(data.size()),
            {isNpy ? "The file is damaged; write it again."
                   : "Give exactly the bytes of " + Describe(tensor.elementType, tensor.shape) +
                         ", or an .npy file, whose element type and shape are checked."});
    }
    return data;
}

std::string TensorFileHeader(const std::string& path, const ModelTensor& tensor) {
    return IsNpy(path) ? NpyHeader({tensor.elementType, tensor.shape}) : "";
}

}  // namespace Orvane::Cli
