#include "cli/printable.h"

#include <cstddef>
#include <cstdio>
#include <string_view>
#include <utility>

namespace Orvane::Cli {
namespace {

std::string WithoutControls(std::string text, std::string_view kept) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
        if ((byte < 0x20 || byte == 0x7f) && kept.find(text[i]) == std::string_view::npos) {
            text[i] = '?';
        } else if (byte == 0xc2 && next >= 0x80 && next < 0xa0) {
            text.replace(i, 2, "?");
        }
    }
    return text;
}

}  // namespace

std::string Printable(std::string text) {
    return WithoutControls(std::move(text), "");
}

std::string PrintableLines(std::string text) {
    return WithoutControls(std::move(text), "\n\t");
}

std::string ShapeText(const std::vector<int64_t>& shape) {
    std::string text = "[";
    for (const int64_t dimension : shape) {
        text += (text.size() == 1 ? "" : ", ") + (dimension < 0 ? "?" : std::to_string(dimension));
    }
    return text + "]";
}

std::string TypeText(orvane::ElementType type, const std::vector<int64_t>& shape) {
    return std::string(orvane::NameOf(type)) + " " + ShapeText(shape);
}

std::string Formatted(const char* format, double value) {
    char text[128];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::vector<std::string> TensorCells(const orvane::Tensor& tensor) {
    return {std::to_string(tensor.index), Printable(tensor.name), orvane::NameOf(tensor.type), ShapeText(tensor.shape)};
}

std::string SideName(orvane::Side side) {
    return side == orvane::Side::Input ? "input" : "output";
}

}  // namespace Orvane::Cli
