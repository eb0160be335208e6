#pragma once

#include <string>
#include <string_view>

namespace Orvane::C {

// Whether the text is well-formed UTF-8: no stray or missing byte, no overlong form, no surrogate, nothing above
// U+10FFFF.
bool IsUtf8(std::string_view text);

// The text with a question mark in the place of each invalid byte and of each zero.
std::string AsUtf8(std::string text);

}  // namespace Orvane::C
