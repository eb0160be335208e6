#include "cli/files/npy.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <utility>

namespace Orvane::Cli {
namespace {

using namespace std::string_literals;

constexpr std::string_view kMagic = "\x93NUMPY";
constexpr const char* kMalformed = "its header is malformed";
constexpr std::size_t kAlignment = 64;
constexpr std::size_t kMaxHeaderBytes = 1 << 20;  // far more than any real header; a longer header is refused

// The descriptions of little-endian elements by type.
constexpr std::pair<orvane::ElementType, std::string_view> kDescriptions[] = {
    {orvane::ElementType::Float32, "<f4"}, {orvane::ElementType::Float16, "<f2"}, {orvane::ElementType::Int32, "<i4"},
    {orvane::ElementType::UInt8, "|u1"},   {orvane::ElementType::Int64, "<i8"},   {orvane::ElementType::Bool, "|b1"},
    {orvane::ElementType::Int16, "<i2"},   {orvane::ElementType::Int8, "|i1"},    {orvane::ElementType::Float64, "<f8"},
};

std::optional<orvane::ElementType> ElementTypeOf(std::string_view description) {
    for (const auto& [type, text] : kDescriptions) {
        if (text == description) {
            return type;
        }
    }
    return std::nullopt;
}

std::string Description(orvane::ElementType elementType) {
    for (const auto& [type, text] : kDescriptions) {
        if (type == elementType) {
            return std::string(text);
        }
    }
    throw std::invalid_argument("an element type that .npy files do not have");
}

[[noreturn]] void Refuse(const std::string& why) {
    throw UnreadableNpy(why);
}

std::string ReadBytes(std::istream& file, std::size_t size) {
    std::string bytes(size, '\0');
    if (!file.read(bytes.data(), static_cast<std::streamsize>(size))) {
        Refuse("it ends within its header");
    }
    return bytes;
}

// Converts the header, a Python dictionary, to JSON: other quotes, brackets and words, and no comma at the end of a
// list. Refuses a list in brackets and a single number in parentheses, which are not tuples.
std::string JsonOf(std::string_view header) {
    std::string json;
    for (const char letter : header) {
        if (letter == '[' || letter == '\0') {
            Refuse(kMalformed);
        }
        if (letter == ')' || letter == '}') {
            json.erase(json.find_last_not_of(" \n") + 1);
            if (letter == ')' && json.find_last_of("[,") == json.find_last_of('[') && !json.ends_with('[')) {
                Refuse(kMalformed);
            }
            if (json.ends_with(',')) {
                json.pop_back();
            }
        }
        json += letter == '\'' ? '"' : letter == '(' ? '[' : letter == ')' ? ']' : letter;
    }
    for (const auto& [word, replacement] : {std::pair{"True", "true"}, std::pair{"False", "false"}}) {
        if (const std::size_t place = json.find(word); place != std::string::npos) {
            json.replace(place, std::strlen(word), replacement);
        }
    }
    return json;
}

std::vector<int64_t> ShapeOf(const nlohmann::json& list) {
    std::vector<int64_t> shape;
    for (const nlohmann::json& dimension : list) {
        const bool isValid = dimension.is_number_unsigned() && dimension.get<uint64_t>() <= INT64_MAX;
        if (!isValid) {
            Refuse(kMalformed);
        }
        shape.push_back(dimension.get<int64_t>());
    }
    return shape;
}

// The dictionary has exactly the keys descr, fortran_order and shape.
NpyArray ParseHeader(std::string_view header) {
    constexpr bool kThrows = false;
    const nlohmann::json entries = nlohmann::json::parse(JsonOf(header), nullptr, kThrows);
    if (!entries.is_object()) {
        Refuse(kMalformed);
    }
    if (entries.size() != 3 || !entries.contains("descr") || !entries.contains("fortran_order") ||
        !entries.contains("shape")) {
        Refuse("its header does not have exactly descr, fortran_order and shape");
    }
    const nlohmann::json& description = entries["descr"];
    if (!description.is_string() || !entries["fortran_order"].is_boolean() || !entries["shape"].is_array()) {
        Refuse(kMalformed);
    }
    const std::optional<orvane::ElementType> elementType = ElementTypeOf(description.get<std::string>());
    if (!elementType) {
        Refuse("its element type is '" + description.get<std::string>() + "', which no tensor has" +
               (description.get<std::string>().starts_with('>') ? ": convert it to little-endian" : ""));
    }
    return {*elementType, ShapeOf(entries["shape"]), entries["fortran_order"].get<bool>()};
}

// Writes the shape as Python does: "()", "(3,)", "(1, 3)".
std::string ShapeTuple(const std::vector<int64_t>& shape) {
    std::string text = "(";
    for (std::size_t i = 0; i < shape.size(); ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(shape[i]);
    }
    text += shape.size() == 1 ? ",)" : ")";
    return text;
}

}  // namespace

NpyArray ReadNpyHeader(std::istream& file) {
    if (ReadBytes(file, kMagic.size()) != kMagic) {
        Refuse("its first bytes are not those of an .npy file");
    }
    const std::string version = ReadBytes(file, 2);
    if (version != "\1\0"s && version != "\2\0"s && version != "\3\0"s) {
        Refuse("its format version is not 1.0, 2.0 or 3.0");
    }
    const std::size_t lengthBytes = version[0] == 1 ? 2 : 4;
    const std::size_t length = NumberAt(ReadBytes(file, lengthBytes), 0, lengthBytes);
    if (length > kMaxHeaderBytes) {
        Refuse("its header claims to be " + std::to_string(length) + " bytes long");
    }
    return ParseHeader(ReadBytes(file, length));
}

std::vector<uint8_t> InCOrder(const std::vector<uint8_t>& data, const NpyArray& array) {
    // For each dimension, the distance in elements between neighbours.
    std::vector<std::size_t> strides;
    std::size_t stride = 1;
    for (const int64_t dimension : array.shape) {
        strides.push_back(stride);
        stride *= static_cast<std::size_t>(dimension);
    }
    const std::size_t elementBytes = data.size() / std::max<std::size_t>(stride, 1);
    std::vector<uint8_t> ordered(data.size());
    std::vector<int64_t> place(array.shape.size());
    std::size_t source = 0;
    for (std::size_t offset = 0; offset < data.size(); offset += elementBytes) {
        std::copy_n(data.data() + source * elementBytes, elementBytes, ordered.data() + offset);
        for (std::size_t i = place.size(); i-- > 0;) {
            source += strides[i];
            if (++place[i] < array.shape[i]) {
                break;
            }
            source -= strides[i] * static_cast<std::size_t>(array.shape[i]);
            place[i] = 0;
        }
    }
    return ordered;
}

std::string NpyHeader(const NpyArray& array) {
    const std::size_t prefix = kMagic.size() + 4;
    std::string text = "{'descr': '" + Description(array.elementType) +
                       "', 'fortran_order': False, 'shape': " + ShapeTuple(array.shape) + ", }";
    const std::size_t unaligned = (prefix + text.size() + 1) % kAlignment;
    text += std::string((kAlignment - unaligned) % kAlignment, ' ') + "\n";
    if (text.size() > 0xffff) {
        throw Failure("a shape of " + std::to_string(array.shape.size()) + " dimensions does not fit into .npy 1.0");
    }
    const std::string length = {static_cast<char>(text.size() & 0xff), static_cast<char>(text.size() >> 8)};
    return std::string(kMagic) + "\1\0"s + length + text;
}

}  // namespace Orvane::Cli
