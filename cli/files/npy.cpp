#include "cli/files/npy.h"

#include "cli/failure.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

namespace Orvane::Cli {
namespace {

using namespace std::string_literals;

constexpr std::string_view kMagic = "\x93NUMPY";
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

std::size_t ReadHeaderLength(std::istream& file, std::size_t bytes) {
    const std::string text = ReadBytes(file, bytes);
    std::size_t length = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        length |= static_cast<std::size_t>(static_cast<unsigned char>(text[i])) << (8 * i);
    }
    return length;
}

// Reads the header's text, a dictionary with exactly the keys descr, fortran_order and shape.
class HeaderParser {
 public:
    explicit HeaderParser(std::string_view header) : rest(header) {}

    NpyArray Parse() {
        Expect('{');
        while (!Accept('}')) {
            ParseEntry();
            if (!Accept(',')) {
                Expect('}');
                break;
            }
        }
        SkipBlanks();
        if (!rest.empty()) {
            Malformed();
        }
        if (!elementType || !fortranOrder || !shape) {
            Refuse("its header lacks one of descr, fortran_order and shape");
        }
        return {*elementType, *shape, *fortranOrder};
    }

 private:
    [[noreturn]] static void Malformed() { Refuse("its header is malformed"); }

    void SkipBlanks() { rest.remove_prefix(std::min(rest.find_first_not_of(" \n"), rest.size())); }

    bool Accept(char letter) {
        SkipBlanks();
        const bool matches = !rest.empty() && rest.front() == letter;
        rest.remove_prefix(matches ? 1 : 0);
        return matches;
    }

    void Expect(char letter) {
        if (!Accept(letter)) {
            Malformed();
        }
    }

    void ParseEntry() {
        const std::string key = ParseText();
        Expect(':');
        if (key == "descr" && !elementType) {
            const std::string description = ParseText();
            elementType = ElementTypeOf(description);
            if (!elementType) {
                Refuse("its elements are '" + description + "', which no tensor has");
            }
        } else if (key == "fortran_order" && !fortranOrder) {
            fortranOrder = ParseBool();
        } else if (key == "shape" && !shape) {
            shape = ParseShape();
        } else {
            Malformed();
        }
    }

    std::string ParseText() {
        const char quote = Accept('\'') ? '\'' : '"';
        if (quote == '"') {
            Expect('"');
        }
        const std::size_t length = rest.find(quote);
        if (length == std::string_view::npos) {
            Malformed();
        }
        std::string text(rest.substr(0, length));
        rest.remove_prefix(length + 1);
        return text;
    }

    bool ParseBool() {
        SkipBlanks();
        for (const std::string_view word : {"True", "False"}) {
            if (rest.starts_with(word)) {
                rest.remove_prefix(word.size());
                return word == "True";
            }
        }
        Malformed();
    }

    std::vector<int64_t> ParseShape() {
        std::vector<int64_t> dimensions;
        Expect('(');
        while (!Accept(')')) {
            dimensions.push_back(ParseDimension());
            // A tuple of one element ends with a comma, "(3,)"; "(3)" is a number.
            if (!Accept(',')) {
                if (dimensions.size() == 1) {
                    Malformed();
                }
                Expect(')');
                break;
            }
        }
        return dimensions;
    }

    int64_t ParseDimension() {
        SkipBlanks();
        int64_t value = 0;
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
        if (error != std::errc() || value < 0) {
            Malformed();
        }
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        return value;
    }

    std::string_view rest;
    std::optional<orvane::ElementType> elementType;
    std::optional<bool> fortranOrder;
    std::optional<std::vector<int64_t>> shape;
};

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
        Refuse("it does not begin like one");
    }
    const std::string version = ReadBytes(file, 2);
    if (version != "\1\0"s && version != "\2\0"s && version != "\3\0"s) {
        Refuse("its format version is not 1.0, 2.0 or 3.0");
    }
    const std::size_t length = ReadHeaderLength(file, version[0] == 1 ? 2 : 4);
    if (length > kMaxHeaderBytes) {
        Refuse("its header claims to be " + std::to_string(length) + " bytes long");
    }
    const std::string header = ReadBytes(file, length);
    return HeaderParser(header).Parse();
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
