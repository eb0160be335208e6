#include "sdk/c/utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Orvane::C {

namespace {

// Returns the number of bytes of the first character of `text`, or 0 if it is invalid.
size_t CharacterSize(std::string_view text) {
    const auto first = static_cast<uint8_t>(text[0]);
    const size_t size = first < 0x80   ? 1
                        : first < 0xC2 ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                        : first < 0xF5 ? 4
                                       : 0;
    if (size < 2) {
        return size;
    }
    const auto isTail = [](char byte) { return (static_cast<uint8_t>(byte) & 0xC0) == 0x80; };
    if (text.size() < size || !std::all_of(text.begin() + 1, text.begin() + static_cast<ptrdiff_t>(size), isTail)) {
        return 0;
    }
    const auto second = static_cast<uint8_t>(text[1]);
    const bool isTooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isSurrogate = first == 0xED && second >= 0xA0;
    const bool isTooHigh = first == 0xF4 && second >= 0x90;
    return isTooLong || isSurrogate || isTooHigh ? 0 : size;
}

}  // namespace

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t size = CharacterSize(text);
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

std::string AsUtf8(std::string text) {
    for (size_t i = 0; i < text.size();) {
        const size_t size = text[i] != '\0' ? CharacterSize(std::string_view(text).substr(i)) : 0;
        if (size == 0) {
            text[i] = '?';
        }
        i += std::max<size_t>(size, 1);
    }
    return text;
}

}  // namespace Orvane::C
