#include "cli/printable.h"

#include <cstddef>
#include <string_view>

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

}  // namespace Orvane::Cli
