#pragma once

#include <string>
#include <string_view>

namespace Orvane::C {

// Whether the text is well-formed UTF-8: no stray or missing byte, no overlong form, no surrogate, nothing above
// U+10FFFF.
bool IsUtf8(std::string_view text);

// Returns the text with a question mark for each invalid byte and each zero.
std::string AsUtf8(std::string text);

}  // namespace Orvane::C
