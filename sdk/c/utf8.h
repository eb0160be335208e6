#pragma once

#include <string>
#include <string_view>

namespace Orvane::C {

// Well-formed: no stray or missing byte, no longer form than needed, no surrogate, nothing above U+10FFFF.
bool IsUtf8(std::string_view text);

// The same text with a question mark for each byte that cannot be there, zeros included.
std::string AsUtf8(std::string text);

}  // namespace Orvane::C
