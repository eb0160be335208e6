#pragma once

#include <utf8cpp/utf8.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace Orvane::C {

// Whether the text is well-formed UTF-8: no stray or missing byte, no overlong form, no surrogate, nothing above
// U+10FFFF.
inline bool IsUtf8(std::string_view text) {
    return utf8::is_valid(text.begin(), text.end());
}

// Returns the text with a question mark for each invalid byte and each zero.
inline std::string AsUtf8(std::string text) {
    std::replace(text.begin(), text.end(), '\0', '?');
    for (auto bad = text.begin(); (bad = utf8::find_invalid(bad, text.end())) != text.end();) {
        *bad = '?';
    }
    return text;
}

}  // namespace Orvane::C
