#include "cli/tensor_file.h"

#include "cli/element_type.h"
#include "cli/failure.h"
#include "cli/input_file.h"
#include "cli/npy.h"

#include <string_view>

namespace Orvane::Cli {
namespace {

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
    } catch (const Failure& failure) {
        throw Failure(path + " is " + failure.what());
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

std::vector<uint8_t> ReadTensorFile(const std::string& path, const ModelTensor& tensor) {
    std::ifstream file = OpenInputFile(path);
    const bool isNpy = IsNpy(path);
    if (isNpy) {
        CheckNpy(file, path, tensor);
    }
    std::vector<uint8_t> data(tensor.Bytes());
    const std::size_t read = ReadUpTo(file, path, data.data(), data.size());
    char beyond = 0;
    const bool isCut = read < data.size();
    if (isCut || ReadUpTo(file, path, &beyond, 1) != 0) {
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
