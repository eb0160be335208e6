#include "cli/files/tensor_file.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/files/npy.h"
#include "cli/files/npz.h"
#include "cli/printable.h"
#include "platform/file.h"
#include "platform/path.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <span>
#include <sstream>
#include <string_view>
#include <utility>

namespace Orvane::Cli {
namespace {

bool IsIndex(const std::string& which) {
    return which.find_first_not_of("0123456789") == std::string::npos;
}

// Returns null if there is no such tensor.
const orvane::Tensor* FindByName(const std::string& name, const std::vector<orvane::Tensor>& tensors) {
    const auto found =
        std::find_if(tensors.begin(), tensors.end(), [&](const orvane::Tensor& tensor) { return tensor.name == name; });
    return found != tensors.end() ? &*found : nullptr;
}

// Digits are an index if there is one, otherwise a name. Returns null if there is no such tensor.
const orvane::Tensor* FindTensor(const std::string& which, const std::vector<orvane::Tensor>& tensors) {
    std::size_t index = tensors.size();
    if (IsIndex(which)) {
        std::from_chars(which.data(), which.data() + which.size(), index);
    }
    return index < tensors.size() ? &tensors[index] : FindByName(which, tensors);
}

std::string Quoted(const std::string& name) {
    return "\"" + name + "\"";
}

// `which` is an index, or a name in quotes.
[[noreturn]] void RefuseUnknown(const std::string& which, const std::vector<orvane::Tensor>& tensors,
                                orvane::Side side) {
    std::vector<std::string> hints = {tensors.empty() ? "The model has no " + SideName(side) + "s."
                                                      : "The model has these:"};
    for (const orvane::Tensor& tensor : tensors) {
        hints.push_back("  " + tensor.Label() + " " + TypeText(tensor.type, tensor.shape));
    }
    throw Failure("the model has no " + SideName(side) + " " + which, hints);
}

NpyArray CheckNpy(std::istream& stream, const std::string& path, const orvane::Tensor& tensor) {
    NpyArray array;
    try {
        array = ReadNpyHeader(stream);
    } catch (const UnreadableNpy& reason) {
        throw Failure(path + " is not a readable .npy file: " + reason.what());
    }
    if (array.elementType != tensor.type || array.shape != tensor.shape) {
        throw Failure(path + " holds " + TypeText(array.elementType, array.shape) + ", but " + tensor.Label() + " is " +
                      TypeText(tensor.type, tensor.shape));
    }
    return array;
}

// Returns the number of bytes of the stream for a message; `read` bytes have been read.
std::string BytesHeld(std::istream& stream, std::size_t read) {
    const auto here = stream.tellg();
    const auto end = stream.seekg(0, std::ios::end).tellg();
    if (end >= here && end != std::istream::pos_type(-1)) {
        return std::to_string(static_cast<uint64_t>(end - here) + read);
    }
    return "more than " + std::to_string(read);  // a pipe has no known size
}

// Reads the rest of the stream, which must be exactly the tensor's data.
std::vector<uint8_t> ReadData(std::istream& stream, const std::string& path, const orvane::Tensor& tensor,
                              const std::string& whatToDo) {
    std::vector<uint8_t> data(static_cast<std::size_t>(tensor.byteSize));
    const std::size_t read = Platform::ReadUpTo(stream, path, data.data(), data.size());
    char beyond = 0;
    const bool isCut = read < data.size();
    if (isCut || Platform::ReadUpTo(stream, path, &beyond, 1) != 0) {
        const std::string held = isCut ? std::to_string(read) : BytesHeld(stream, read + 1);
        throw Failure(
            path + " holds " + held + " bytes of data, but " + tensor.Label() + " takes " + std::to_string(data.size()),
            {whatToDo});
    }
    return data;
}

std::vector<uint8_t> ReadNpyData(std::istream& stream, const std::string& path, const orvane::Tensor& tensor) {
    const NpyArray array = CheckNpy(stream, path, tensor);
    const auto read = [&] { return ReadData(stream, path, tensor, "The file is damaged; write it again."); };
    return array.isFortran ? InCOrder(read(), array) : read();
}

// Returns the array of the tensor's name, or the only array.
const NpzArray& FindArray(const std::vector<NpzArray>& arrays, const std::string& path, const orvane::Tensor& tensor) {
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
    throw Failure(path + " has no array with the name of " + tensor.Label() + "; its arrays are:" + names,
                  {"Save it with the names of the inputs: numpy.savez(FILE, **{\"" + tensor.name + "\": array})."});
}

std::vector<uint8_t> ReadNpzData(std::istream& file, const std::string& path, const orvane::Tensor& tensor) {
    const std::vector<NpzArray> arrays = ListNpz(file, path);
    const NpzArray& array = FindArray(arrays, path, tensor);
    std::istringstream npy(ReadNpz(file, path, array));
    return ReadNpyData(npy, path + ", array " + array.name, tensor);
}

std::vector<uint8_t> ReadBareData(std::istream& file, const std::string& path, const orvane::Tensor& tensor) {
    return ReadData(file, path, tensor,
                    "Give exactly the bytes of " + TypeText(tensor.type, tensor.shape) +
                        ", or an .npy file, whose element type and shape are checked.");
}

std::vector<uint8_t> ReadAs(FileFormat format, std::istream& file, const std::string& name,
                            const orvane::Tensor& tensor, const PictureOptions& pictures) {
    switch (format) {
        case FileFormat::Npy:
            return ReadNpyData(file, name, tensor);
        case FileFormat::Npz:
            return ReadNpzData(file, name, tensor);
        case FileFormat::Picture:
            return PictureData(ReadAll(file, name), name, tensor, pictures);
        case FileFormat::OtherPicture:
            throw Failure(name + " is a kind of picture that orvane does not read", {"Give a PNG or JPEG file."});
        default:
            return ReadBareData(file, name, tensor);
    }
}

// Ignores the case of ASCII letters; `ending` has small letters.
bool EndsIn(std::string_view path, std::string_view ending) {
    const auto small = [](char letter) { return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter; };
    return path.size() >= ending.size() &&
           std::equal(ending.begin(), ending.end(), path.end() - static_cast<std::ptrdiff_t>(ending.size()),
                      [&](char wanted, char letter) { return small(letter) == wanted; });
}

using Marks = std::span<const std::pair<std::string_view, FileFormat>>;

constexpr Marks::value_type kEndings[] = {
    {".npy", FileFormat::Npy},           {".npz", FileFormat::Npz},           {".png", FileFormat::Picture},
    {".jpg", FileFormat::Picture},       {".jpeg", FileFormat::Picture},      {".webp", FileFormat::OtherPicture},
    {".gif", FileFormat::OtherPicture},  {".bmp", FileFormat::OtherPicture},  {".tif", FileFormat::OtherPicture},
    {".tiff", FileFormat::OtherPicture}, {".heic", FileFormat::OtherPicture}, {".heif", FileFormat::OtherPicture},
    {".avif", FileFormat::OtherPicture}};
constexpr Marks::value_type kFirstBytes[] = {{"\x93NUMPY", FileFormat::Npy},
                                             {"PK\3\4", FileFormat::Npz},
                                             {"\x89PNG", FileFormat::Picture},
                                             {"\xff\xd8\xff", FileFormat::Picture}};

template <typename Matches>
FileFormat FormatWith(Marks marks, Matches matches) {
    const auto found = std::find_if(marks.begin(), marks.end(), [&](const auto& mark) { return matches(mark.first); });
    return found == marks.end() ? FileFormat::Bytes : found->second;
}

}  // namespace

FileFormat FormatOf(const std::string& path) {
    return FormatWith(kEndings, [&](std::string_view ending) { return EndsIn(path, ending); });
}

std::vector<TensorFileArgument> ParseTensorFiles(const std::vector<std::string>& texts) {
    std::vector<TensorFileArgument> arguments;
    for (const std::string& text : texts) {
        if (FormatOf(text) == FileFormat::Npz && text.find('=') == std::string::npos) {
            arguments.push_back({"", text});
            continue;
        }
        const std::size_t split = text.find('=');
        if (split == std::string::npos || split == 0 || split + 1 == text.size()) {
            throw WrongUsage("\"" + text +
                             "\" is not WHICH=FILE: give the index or name of a tensor, an equals sign and a file");
        }
        arguments.push_back({text.substr(0, split), text.substr(split + 1)});
    }
    return arguments;
}

void CheckOutputFiles(const std::vector<TensorFileArgument>& arguments) {
    std::set<std::filesystem::path> places;
    for (const TensorFileArgument& argument : arguments) {
        const FileFormat format = FormatOf(argument.path);
        if (format != FileFormat::Npy && format != FileFormat::Bytes) {
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

std::vector<const orvane::Tensor*> FindTensors(const std::vector<std::string>& named,
                                               const std::vector<orvane::Tensor>& tensors, orvane::Side side) {
    std::vector<const orvane::Tensor*> found;
    for (const std::string& which : named) {
        const orvane::Tensor* tensor = FindTensor(which, tensors);
        if (tensor == nullptr) {
            RefuseUnknown(IsIndex(which) ? which : Quoted(which), tensors, side);
        }
        if (std::find(found.begin(), found.end(), tensor) != found.end()) {
            throw Failure(tensor->Label() + " is given twice");
        }
        found.push_back(tensor);
    }
    return found;
}

std::vector<TensorFileArgument> WithArrays(const std::vector<TensorFileArgument>& arguments,
                                           const std::vector<orvane::Tensor>& inputs) {
    std::vector<TensorFileArgument> all;
    for (const TensorFileArgument& argument : arguments) {
        if (!argument.which.empty()) {
            all.push_back(argument);
            continue;
        }
        std::ifstream file = Platform::OpenInputFile(argument.path);
        for (const NpzArray& array : ListNpz(file, argument.path)) {
            const orvane::Tensor* input = FindByName(array.name, inputs);
            if (input == nullptr) {
                RefuseUnknown(Quoted(array.name), inputs, orvane::Side::Input);
            }
            all.push_back({std::to_string(input->index), argument.path});
        }
    }
    return all;
}

std::vector<uint8_t> ReadTensorFile(const std::string& path, const orvane::Tensor& tensor,
                                    const PictureOptions& pictures) {
    if (IsStandard(path)) {
        const std::string bytes = ReadInput(path);
        const FileFormat format =
            FormatWith(kFirstBytes, [&](std::string_view begin) { return bytes.starts_with(begin); });
        std::istringstream file(bytes);
        return ReadAs(format, file, InputName(path), tensor, pictures);
    }
    std::ifstream file = Platform::OpenInputFile(path);
    return ReadAs(FormatOf(path), file, path, tensor, pictures);
}

std::string TensorFileHeader(const std::string& path, const orvane::Tensor& tensor) {
    return FormatOf(path) == FileFormat::Npy || IsStandard(path) ? NpyHeader({tensor.type, tensor.shape, false}) : "";
}

}  // namespace Orvane::Cli
