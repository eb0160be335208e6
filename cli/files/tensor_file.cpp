#include "cli/files/tensor_file.h"

#include "cli/failure.h"
#include "cli/files/ending.h"
#include "cli/files/npy.h"
#include "cli/files/npz.h"
#include "platform/file_error.h"
#include "platform/input_file.h"
#include "platform/path.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <sstream>

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

bool IsNpy(const std::string& path) {
    return EndsIn(path, ".npy");
}

bool IsNpz(const std::string& path) {
    return EndsIn(path, ".npz");
}

std::string Describe(DataType type, const std::vector<int64_t>& shape) {
    return ElementTypeName(type) + " " + ShapeText(shape);
}

NpyArray CheckNpy(std::istream& stream, const std::string& path, const ModelTensor& tensor) {
    NpyArray array;
    try {
        array = ReadNpyHeader(stream);
    } catch (const UnreadableNpy& reason) {
        throw Failure(path + " is not a readable .npy file: " + reason.what());
    }
    if (array.elementType != tensor.elementType || array.shape != tensor.shape) {
        throw Failure(path + " holds " + Describe(array.elementType, array.shape) + ", but " + Label(tensor) + " is " +
                      Describe(tensor.elementType, tensor.shape));
    }
    return array;
}

std::size_t ReadUpTo(std::istream& stream, const std::string& path, void* data, std::size_t size) {
    stream.read(static_cast<char*>(data), static_cast<std::streamsize>(size));
    if (stream.bad()) {
        throw Platform::FileError::OfSystem("cannot read " + path);
    }
    return static_cast<std::size_t>(stream.gcount());
}

// How many bytes of data the stream holds, `read` of which have been read, for a message.
std::string BytesHeld(std::istream& stream, std::size_t read) {
    const auto here = stream.tellg();
    const auto end = stream.seekg(0, std::ios::end).tellg();
    if (end >= here && end != std::istream::pos_type(-1)) {
        return std::to_string(static_cast<uint64_t>(end - here) + read);
    }
    return "more than " + std::to_string(read);  // a pipe does not tell
}

// All that is left in the stream, which is exactly the tensor's data.
std::vector<uint8_t> ReadData(std::istream& stream, const std::string& path, const ModelTensor& tensor,
                              const std::string& whatToDo) {
    std::vector<uint8_t> data(tensor.Bytes());
    const std::size_t read = ReadUpTo(stream, path, data.data(), data.size());
    char beyond = 0;
    const bool isCut = read < data.size();
    if (isCut || ReadUpTo(stream, path, &beyond, 1) != 0) {
        const std::string held = isCut ? std::to_string(read) : BytesHeld(stream, read + 1);
        throw Failure(
            path + " holds " + held + " bytes of data, but " + Label(tensor) + " takes " + std::to_string(data.size()),
            {whatToDo});
    }
    return data;
}

std::vector<uint8_t> ReadNpyData(std::istream& stream, const std::string& path, const ModelTensor& tensor) {
    const NpyArray array = CheckNpy(stream, path, tensor);
    const auto read = [&] { return ReadData(stream, path, tensor, "The file is damaged; write it again."); };
    return array.isFortran ? InCOrder(read(), array) : read();
}

// Does `read` with what it holds, and says whose fault it is when that cannot be read.
template <typename Read>
auto WithNpz(const std::string& path, Read read) {
    std::ifstream file = Platform::OpenInputFile(path);
    try {
        const std::vector<NpzArray> arrays = ListNpz(file);
        return read(file, arrays);
    } catch (const UnreadableNpz& reason) {
        throw Failure(path + " is not a readable .npz file: " + reason.what());
    }
}

// The array of the tensor's name, or the only one.
const NpzArray& FindArray(const std::vector<NpzArray>& arrays, const std::string& path, const ModelTensor& tensor) {
    const auto found =
        std::find_if(arrays.begin(), arrays.end(), [&](const NpzArray& array) { return array.name == tensor.name; });
    if (found != arrays.end()) {
        return *found;
    }
    if (arrays.size() == 1) {
        return arrays.front();
    }
    std::string names;
    for (const NpzArray& array : arrays) {
        names += " ";
        names += array.name;
    }
    throw Failure(path + " has no array of the name of " + Label(tensor) + ", but these:" + names,
                  {"Save it with the names of the inputs: numpy.savez(FILE, **{\"" + tensor.name + "\": array})."});
}

std::vector<uint8_t> ReadNpzData(const std::string& path, const ModelTensor& tensor) {
    return WithNpz(path, [&](std::istream& file, const std::vector<NpzArray>& arrays) {
        const NpzArray& array = FindArray(arrays, path, tensor);
        std::istringstream npy(ReadNpz(file, array));
        return ReadNpyData(npy, path + ", array " + array.name, tensor);
    });
}

std::string ReadWhole(const std::string& path) {
    const std::ifstream file = Platform::OpenInputFile(path);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

}  // namespace

std::vector<TensorFileArgument> ParseTensorFiles(const std::vector<std::string>& texts) {
    std::vector<TensorFileArgument> arguments;
    for (const std::string& text : texts) {
        if (IsNpz(text) && text.find('=') == std::string::npos) {
            arguments.push_back({"", text});
            continue;
        }
        const std::size_t split = text.find('=');
        if (split == std::string::npos || split == 0 || split + 1 == text.size()) {
            throw WrongUsage("\"" + text + "\" is not of the form WHICH=FILE, an index or a name and a file");
        }
        arguments.push_back({text.substr(0, split), text.substr(split + 1)});
    }
    return arguments;
}

void CheckOutputFiles(const std::vector<TensorFileArgument>& arguments) {
    std::set<std::filesystem::path> places;
    for (const TensorFileArgument& argument : arguments) {
        if (IsNpz(argument.path) || IsPicture(argument.path)) {
            throw WrongUsage(argument.path + " cannot be written: an output is written as .npy or as bare bytes");
        }
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

std::vector<TensorFileArgument> WithArrays(const std::vector<TensorFileArgument>& arguments) {
    std::vector<TensorFileArgument> all;
    for (const TensorFileArgument& argument : arguments) {
        if (!argument.which.empty()) {
            all.push_back(argument);
            continue;
        }
        WithNpz(argument.path, [&](std::istream&, const std::vector<NpzArray>& arrays) {
            for (const NpzArray& array : arrays) {
                all.push_back({array.name, argument.path});
            }
        });
    }
    return all;
}

std::vector<uint8_t> ReadTensorFile(const std::string& path, const ModelTensor& tensor,
                                    const PictureOptions& pictures) {
    if (IsNpz(path)) {
        return ReadNpzData(path, tensor);
    }
    if (IsPicture(path)) {
        return PictureData(ReadWhole(path), path, tensor, pictures);
    }
    std::ifstream file = Platform::OpenInputFile(path);
    if (IsNpy(path)) {
        return ReadNpyData(file, path, tensor);
    }
    return ReadData(file, path, tensor,
                    "Give exactly the bytes of " + Describe(tensor.elementType, tensor.shape) +
                        ", or an .npy file, whose element type and shape are checked.");
}

std::string TensorFileHeader(const std::string& path, const ModelTensor& tensor) {
    return IsNpy(path) ? NpyHeader({tensor.elementType, tensor.shape, false}) : "";
}

}  // namespace Orvane::Cli
